#include "tests/support/web/TestServerStream.h"

#include <boost/asio/ssl/stream.hpp>
#include <optional>

namespace tevanto::test {

namespace ssl = boost::asio::ssl;
using boost::asio::ip::tcp;

struct TestServerStream::State {
  explicit State(tcp::socket accepted) : socket(std::move(accepted)) {}

  /// Reads on until the client has ended its direction.
  void drain(std::function<void(const Error&)> done) {
    socket.async_read_some(boost::asio::buffer(ignored),
                           [this, done = std::move(done)](const Error& error, std::size_t) {
                             if (!error) return drain(done);
                             done(error == boost::asio::error::eof ? Error() : error);
                           });
  }

  tcp::socket socket;
  std::optional<ssl::stream<tcp::socket&>> tls;
  std::array<char, 1024> ignored{};
};

TestServerStream::TestServerStream(tcp::socket socket) : state_(std::make_unique<State>(std::move(socket))) {}
TestServerStream::TestServerStream(TestServerStream&&) noexcept = default;
TestServerStream& TestServerStream::operator=(TestServerStream&&) noexcept = default;
TestServerStream::~TestServerStream() = default;

tcp::socket& TestServerStream::socket() { return state_->socket; }
TestServerStream::executor_type TestServerStream::get_executor() { return state_->socket.get_executor(); }

void TestServerStream::secure(ssl::context& certificates,
                              std::function<void(const Error&, std::string name)> done) {
  state_->tls.emplace(state_->socket, certificates);
  state_->tls->async_handshake(ssl::stream_base::server, [this, done = std::move(done)](const Error& error) {
    const char* name = SSL_get_servername(state_->tls->native_handle(), TLSEXT_NAMETYPE_host_name);
    done(error, name ? name : "");
  });
}

void TestServerStream::readSome(boost::asio::mutable_buffer room, Transferred done) {
  if (state_->tls) return state_->tls->async_read_some(room, std::move(done));
  state_->socket.async_read_some(room, std::move(done));
}

void TestServerStream::writeSome(const Gathered& bytes, Transferred done) {
  if (state_->tls) return state_->tls->async_write_some(bytes, std::move(done));
  state_->socket.async_write_some(bytes, std::move(done));
}

void TestServerStream::shutDown(std::function<void(const Error&)> done) {
  if (state_->tls) return state_->tls->async_shutdown(std::move(done));
  Error ignored;
  state_->socket.shutdown(tcp::socket::shutdown_send, ignored);
  state_->drain(std::move(done));
}

void beast_close_socket(TestServerStream& stream) {
  boost::system::error_code ignored;
  stream.socket().close(ignored);
}

void teardown(boost::beast::role_type, TestServerStream& stream, boost::system::error_code& error) {
  beast_close_socket(stream);
  error = {};
}

}  // namespace tevanto::test
