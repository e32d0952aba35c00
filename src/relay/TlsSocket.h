#pragma once

// Private to the connections of this folder: shows types of Boost.Asio.

#include <openssl/ssl.h>

#include <array>
#include <boost/asio/compose.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/teardown.hpp>
#include <memory>
#include <utility>

#include "net/tcp/AsioSocket.h"

namespace tevanto::relay {

/// The server's end of TLS over a socket, as an AsyncStream of Boost.Asio: one read and one write at a time.
/// Made for connections that are many and idle. Asio's own stream keeps 68 KiB for each, in two buffers and
/// in a pair of pipes; here the TLS library uses the socket itself, and has no buffers while nothing is under
/// way (SSL_MODE_RELEASE_BUFFERS).
class TlsSocket {
 public:
  using executor_type = AsioSocket::executor_type;
  using Error = boost::system::error_code;

  TlsSocket(AsioSocket socket, boost::asio::ssl::context& certificates);

  // NOLINTBEGIN(readability-identifier-naming): Boost.Asio and Boost.Beast look for these names
  executor_type get_executor() { return socket_.get_executor(); }
  AsioSocket& next_layer() { return socket_; }

  /// Calls `done(Error)`.
  template <class Handler>
  void async_handshake(Handler&& done) {
    start<void(Error)>([this](std::size_t&) { return ::SSL_accept(ssl_.get()); },
                       std::forward<Handler>(done));
  }
  /// Says that nothing more will come, and waits for the other side to say so. Calls `done(Error)`.
  template <class Handler>
  void async_shutdown(Handler&& done) {
    start<void(Error)>([this](std::size_t&) { return sendCloseNotify(); }, std::forward<Handler>(done));
  }
  template <class Buffers, class Token>
  auto async_read_some(const Buffers& buffers, Token&& token) {
    return start<void(Error, std::size_t)>(
        [this, room = firstOf<boost::asio::mutable_buffer>(buffers)](std::size_t& count) {
          return room.size() == 0 ? 1 : ::SSL_read_ex(ssl_.get(), room.data(), room.size(), &count);
        },
        std::forward<Token>(token));
  }
  template <class Buffers, class Token>
  auto async_write_some(const Buffers& buffers, Token&& token) {
    return start<void(Error, std::size_t)>(
        [this, buffers](std::size_t& count) {
          // A frame's head and what follows it go in one record.
          std::array<char, kGatheredBytes> gathered;
          auto bytes = firstOf<boost::asio::const_buffer>(buffers);
          if (bytes.size() < gathered.size())
            bytes = {gathered.data(), boost::asio::buffer_copy(boost::asio::buffer(gathered), buffers)};
          return bytes.size() == 0 ? 1 : ::SSL_write_ex(ssl_.get(), bytes.data(), bytes.size(), &count);
        },
        std::forward<Token>(token));
  }

  // NOLINTEND(readability-identifier-naming)

 private:
  static constexpr std::size_t kGatheredBytes = 4096;

  struct Outcome {
    enum class Want { nothing, read, write };
    Want want = Want::nothing;
    Error error = {};
    std::size_t bytes = 0;
  };

  /// Tries `step`, and again whenever the socket is ready for what it lacks.
  template <class Signature, class Step>
  struct Operation {
    TlsSocket& stream;
    Step step;
    Outcome outcome = {};
    enum class Phase { beginning, trying, ended } phase = Phase::beginning;

    template <class Self>
    void operator()(Self& self, const Error& error = {}) {
      if (phase == Phase::ended) return complete(self, static_cast<Signature*>(nullptr));
      outcome = {.error = error};
      if (!error) outcome = stream.attempt(step);
      auto& socket = stream.socket_;
      const bool isFirst = std::exchange(phase, Phase::trying) == Phase::beginning;
      if (outcome.want == Outcome::Want::read) return socket.async_wait(socket.wait_read, std::move(self));
      if (outcome.want == Outcome::Want::write) return socket.async_wait(socket.wait_write, std::move(self));
      phase = Phase::ended;
      // Never inside the call that began it.
      if (isFirst) return boost::asio::post(socket.get_executor(), std::move(self));
      complete(self, static_cast<Signature*>(nullptr));
    }
    template <class Self>
    void complete(Self& self, void (* /*signature*/)(Error)) {
      self.complete(outcome.error);
    }
    template <class Self>
    void complete(Self& self, void (* /*signature*/)(Error, std::size_t)) {
      self.complete(outcome.error, outcome.bytes);
    }
  };

  template <class Signature, class Step, class Token>
  auto start(Step step, Token&& token) {
    return boost::asio::async_compose<Token, Signature>(
        Operation<Signature, Step>{.stream = *this, .step = std::move(step)}, token, socket_);
  }

  /// The first buffer with anything in it.
  template <class Buffer, class Buffers>
  static Buffer firstOf(const Buffers& buffers) {
    const auto end = boost::asio::buffer_sequence_end(buffers);
    for (auto one = boost::asio::buffer_sequence_begin(buffers); one != end; ++one)
      if (const Buffer buffer(*one); buffer.size() != 0) return buffer;
    return {};
  }

  template <class Step>
  Outcome attempt(const Step& step) {
    Outcome outcome;
    if (!begin(outcome)) return outcome;
    const int result = step(outcome.bytes);
    if (result <= 0) explain(result, outcome);
    return outcome;
  }
  bool begin(Outcome& outcome) const;
  void explain(int result, Outcome& outcome) const;
  int sendCloseNotify() const;

  struct Free {
    void operator()(SSL* ssl) const { ::SSL_free(ssl); }
  };
  AsioSocket socket_;
  std::unique_ptr<SSL, Free> ssl_;
};

/// How a WebSocket ends its stream.
template <class Handler>
void async_teardown(  // NOLINT(readability-identifier-naming): Boost.Beast looks for it
    boost::beast::role_type /*role*/, TlsSocket& stream, Handler&& done) {
  stream.async_shutdown(std::forward<Handler>(done));
}

}  // namespace tevanto::relay
