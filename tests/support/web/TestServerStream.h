#pragma once

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/role.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace tevanto::test {

/// TestServerStream is the server's end of a byte stream, in TLS or plain. It is one type for both, and knows
/// one type of handler, so that Boost.Beast's templates are compiled once. Has what Boost.Asio asks of an
/// AsyncReadStream and an AsyncWriteStream. Movable while nothing is under way.
class TestServerStream {
 public:
  using Error = boost::system::error_code;
  using executor_type = boost::asio::ip::tcp::socket::executor_type;

  explicit TestServerStream(boost::asio::ip::tcp::socket socket);
  TestServerStream(TestServerStream&&) noexcept;
  TestServerStream& operator=(TestServerStream&&) noexcept;
  ~TestServerStream();

  /// Puts TLS on it. `done` gets the name that the client asked for, empty without one.
  void secure(boost::asio::ssl::context& certificates,
              std::function<void(const Error&, std::string name)> done);
  boost::asio::ip::tcp::socket& socket();

  // NOLINTBEGIN(readability-identifier-naming): the names are Boost.Asio's
  executor_type get_executor();
  template <class Buffers, class Handler>
  void async_read_some(const Buffers& buffers, Handler&& handler) {
    boost::asio::mutable_buffer room;
    const auto end = boost::asio::buffer_sequence_end(buffers);
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

  /// Ends the sending direction and waits for the client to end the other.
  void shutDown(std::function<void(const Error&)> done);

 private:
  using Gathered = std::array<boost::asio::const_buffer, 4>;
  using Transferred = std::function<void(const Error&, std::size_t)>;
  struct State;

  template <class Handler>
  static Transferred erased(Handler&& handler) {
    auto kept = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
    return [kept](const Error& error, std::size_t count) { (*kept)(error, count); };
  }
  void readSome(boost::asio::mutable_buffer room, Transferred done);
  void writeSome(const Gathered& bytes, Transferred done);

  std::unique_ptr<State> state_;
};

// NOLINTBEGIN(readability-identifier-naming)
// What Boost.Beast's WebSocket asks of a stream, found by its argument.
void beast_close_socket(TestServerStream& stream);
void teardown(boost::beast::role_type role, TestServerStream& stream, boost::system::error_code& error);
template <class Handler>
void async_teardown(boost::beast::role_type, TestServerStream& stream, Handler&& handler) {
  auto kept = std::make_shared<std::decay_t<Handler>>(std::forward<Handler>(handler));
  stream.shutDown([kept](const boost::system::error_code& error) { (*kept)(error); });
}
// NOLINTEND(readability-identifier-naming)

}  // namespace tevanto::test
