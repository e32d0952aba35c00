#pragma once

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/role.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "net/web/AsioDialer.h"
#include "net/web/AsioTlsContext.h"

namespace tevanto {

/// The client's end of a byte stream, in TLS or plain: one type for both, so that what is built on it is
/// compiled once. Has what Boost.Asio asks of an AsyncReadStream and an AsyncWriteStream.
class AsioClientStream {
 public:
  using executor_type = EventLoopQueue::Strand;

  explicit AsioClientStream(AsioStrandSocket socket) : socket_(std::move(socket)) {}

  // NOLINTBEGIN(readability-identifier-naming): the names are Boost.Asio's
  executor_type get_executor() { return socket_.get_executor(); }

  template <class Buffers, class Handler>
  auto async_read_some(const Buffers& buffers, Handler&& handler) {
    return tls_ ? tls_->async_read_some(buffers, std::forward<Handler>(handler))
                : socket_.async_read_some(buffers, std::forward<Handler>(handler));
  }
  template <class Buffers, class Handler>
  auto async_write_some(const Buffers& buffers, Handler&& handler) {
    return tls_ ? tls_->async_write_some(buffers, std::forward<Handler>(handler))
                : socket_.async_write_some(buffers, std::forward<Handler>(handler));
  }
  // NOLINTEND(readability-identifier-naming)

  /// Puts TLS on it and checks that the server is `host`, a name or an address. `done` gets the fault, or
  /// nothing; the stream must live until then.
  void secure(AsioTlsContext& tls, const std::string& host, std::function<void(std::string fault)> done);
  /// Ends both directions now.
  void close();

 private:
  std::string refusal(const boost::system::error_code& error);

  AsioStrandSocket socket_;
  std::optional<boost::asio::ssl::stream<AsioStrandSocket&>> tls_;
};

// NOLINTBEGIN(readability-identifier-naming)
// What Boost.Beast's WebSocket asks of a stream, found by its argument.
void beast_close_socket(AsioClientStream& stream);
void teardown(boost::beast::role_type role, AsioClientStream& stream, boost::system::error_code& error);
template <class Handler>
void async_teardown(boost::beast::role_type, AsioClientStream& stream, Handler&& handler) {
  stream.close();
  boost::asio::post(stream.get_executor(), [handler = std::forward<Handler>(handler)]() mutable {
    handler(boost::system::error_code());
  });
}
// NOLINTEND(readability-identifier-naming)

}  // namespace tevanto
