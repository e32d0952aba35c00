#pragma once

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/role.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
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
  void async_read_some(const Buffers& buffers, Handler&& handler) {
    const auto end = boost::asio::buffer_sequence_end(buffers);
    boost::asio::mutable_buffer room;
    for (auto one = boost::asio::buffer_sequence_begin(buffers); one != end && room.size() == 0; ++one)
      room = *one;
    readSome(room, erased(std::forward<Handler>(handler)));
  }
  template <class Buffers, class Handler>
  void async_write_some(const Buffers& buffers, Handler&& handler) {
    Gathered gathered{};
    std::size_t count = 0;
    const auto end = boost::asio::buffer_sequence_end(buffers);
    for (auto one = boost::asio::buffer_sequence_begin(buffers); one != end && count < gathered.size();
         ++one) {
      const boost::asio::const_buffer bytes(*one);
      if (bytes.size() != 0) gathered[count++] = bytes;
    }
    writeSome(gathered, erased(std::forward<Handler>(handler)));
  }
  // NOLINTEND(readability-identifier-naming)

  /// Puts TLS on it and checks that the server is `host`, a name or an address. `done` gets the fault, or
  /// nothing; the stream must live until then.
  void secure(AsioTlsContext& tls, const std::string& host, std::function<void(std::string fault)> done);
  /// Ends both directions now.
  void close();

 private:
  /// The buffers of one write; those that are not used are empty.
  using Gathered = std::array<boost::asio::const_buffer, 4>;
  using Transferred = std::function<void(const boost::system::error_code&, std::size_t)>;

  /// Wraps the handlers of all operations above in one type, so that TLS and the socket are compiled for it
  /// alone: 50 s of the compiler's time without it, 32 s with it. The handlers run on the strand of the
  /// socket, whatever executor and allocator they name themselves.
  template <class Handler>
  static Transferred erased(Handler&& handler) {
    auto kept = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
    return [kept](const boost::system::error_code& error, std::size_t count) { (*kept)(error, count); };
  }
  void readSome(boost::asio::mutable_buffer room, Transferred done);
  void writeSome(const Gathered& bytes, Transferred done);
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
