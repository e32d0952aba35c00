#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/queue/EventLoopCore.h"

namespace tevanto {

/// A socket whose handlers all run on one strand.
using AsioStrandSocket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, EventLoopQueue::Strand>;

/// Connects to the first address of a host that answers (RFC 8305): the addresses of both families take
/// turns, and each gets a head start before the next is tried beside it, so that a dead one costs a moment
/// only. Lives on its strand.
class AsioDialer : public std::enable_shared_from_this<AsioDialer> {
 public:
  /// The socket, or why there is none.
  using Completion = std::function<void(const boost::system::error_code&, AsioStrandSocket*)>;
  using Endpoints = std::vector<boost::asio::ip::tcp::endpoint>;
  static constexpr std::chrono::milliseconds kAttemptDelay{250};

  explicit AsioDialer(EventLoopQueue::Strand strand);

  /// `done` is called once, never inside this call, and not after `cancel`.
  void dial(const std::string& host, std::uint16_t port, Completion done);
  void dial(Endpoints endpoints, Completion done);
  void cancel();

  /// The families in turns, each in its own order.
  static Endpoints interleaved(const Endpoints& endpoints);

 private:
  void tryNext();
  void connected(std::size_t attempt, const boost::system::error_code& error);
  void finish(const boost::system::error_code& error, AsioStrandSocket* socket);

  EventLoopQueue::Strand strand_;
  boost::asio::ip::basic_resolver<boost::asio::ip::tcp, EventLoopQueue::Strand> resolver_;
  boost::asio::basic_waitable_timer<
      std::chrono::steady_clock, boost::asio::wait_traits<std::chrono::steady_clock>, EventLoopQueue::Strand>
      attemptDelay_;
  Endpoints endpoints_;
  std::vector<AsioStrandSocket> attempts_;  // of the first endpoints, in their order
  std::size_t open_ = 0;                    // attempts that have not ended yet
  boost::system::error_code lastError_;
  Completion done_;  // until it was called
};

}  // namespace tevanto
