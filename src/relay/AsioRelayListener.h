#pragma once

// Private to the relay's server: shows types of Boost.Asio.

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/Result.h"
#include "net/tcp/AsioSocket.h"

namespace tevanto::relay {

/// The listening sockets of a relay, all on one port. Lives on the loop's only thread.
class AsioRelayListener : public std::enable_shared_from_this<AsioRelayListener> {
 public:
  using Endpoint = boost::asio::ip::tcp::endpoint;
  using Handler = std::function<void(AsioSocket socket, const Endpoint& peer)>;

  /// `addresses`: none for all of IPv4 and of IPv6; a machine without IPv6 is served on IPv4 alone.
  static Result<std::shared_ptr<AsioRelayListener>> open(boost::asio::io_context& context,
                                                         const std::vector<std::string>& addresses,
                                                         std::uint16_t port);

  void start(Handler handler);
  void close();
  std::vector<Endpoint> endpoints() const;

 private:
  using Acceptor =
      boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;
  struct Door {
    Acceptor acceptor;
    boost::asio::steady_timer pause;
  };

  explicit AsioRelayListener(std::vector<Acceptor> acceptors);
  void acceptNext(Door& door);
  void accepted(Door& door, const boost::system::error_code& error, AsioSocket socket);

  std::vector<std::unique_ptr<Door>> doors_;
  Handler handler_;
};

}  // namespace tevanto::relay
