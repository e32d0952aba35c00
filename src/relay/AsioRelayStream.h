#pragma once

// Private to the connections of this folder: shows types of Boost.Asio and Boost.Beast.

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <memory>
#include <string>
#include <utility>

#include "net/tcp/AsioSocket.h"
#include "relay/RelayConnection.h"

namespace tevanto::relay {

namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

/// AsioRelayStream is a connection over a stream of Boost.Asio. There are many and most are idle: the
/// request's buffers are gone once it has been read, a buffer that a large message has stretched is
/// released, compression is off, and no connection has a timer of its own.
template <class Stream>
class AsioRelayStream : public RelayConnection, public std::enable_shared_from_this<AsioRelayStream<Stream>> {
 public:
  template <class... Arguments>
  AsioRelayStream(std::shared_ptr<RelayContext> context, const IpAddress& peer, Arguments&&... arguments)
      : RelayConnection(context, peer), socket_(std::forward<Arguments>(arguments)...) {
    socket_.read_message_max(context->options.limits.maxMessageBytes);
    socket_.auto_fragment(false);
  }

 protected:
  using Error = boost::system::error_code;

  Stream& stream() { return socket_.next_layer(); }
  auto self() { return this->shared_from_this(); }

  void readRequest() override {
    request_ = std::make_unique<Request>();
    request_->parser.header_limit(kMaxHeadBytes);
    http::async_read_header(stream(), request_->buffer, request_->parser,
                            [self = self()](const Error& error, std::size_t) { self->requestRead(error); });
  }

  void writeAnswer(HttpAnswer answer) override {
    answer_ = std::make_unique<Answer>(static_cast<http::status>(answer.status), kHttp11);
    answer_->set(http::field::server, kServerName);
    answer_->set(http::field::content_type, answer.contentType);
    for (const auto& [name, value] : answer.headers) answer_->set(name, value);
    answer_->keep_alive(false);
    answer_->body() = std::move(answer.body);
    answer_->prepare_payload();
    if (request_->parser.get().method() == http::verb::head) answer_->body().clear();
    http::async_write(stream(), *answer_, [self = self()](const Error& error, std::size_t) {
      if (error) return self->finished();
      self->endStream();
    });
  }

  void acceptUpgrade() override {
    socket_.set_option(websocket::stream_base::decorator(
        [](websocket::response_type& response) { response.set(http::field::server, kServerName); }));
    socket_.control_callback([this](websocket::frame_type kind, auto&&...) {
      kind == websocket::frame_type::close ? this->handleCloseFrame() : this->handleControlFrame();
    });
    // The request must stay until it has been answered.
    const std::shared_ptr<Request> request = std::move(request_);
    socket_.async_accept(request->parser.get(),
                         [self = self(), request](const Error& error) { self->upgraded(!error); });
  }

  void readMessage() override {
    socket_.async_read(buffer_,
                       [self = self()](const Error& error, std::size_t) { self->messageRead(error); });
  }

  void writeMessage(const RelayMessage& message) override {
    socket_.text(message.isText);
    socket_.async_write(boost::asio::buffer(message.bytes),
                        [self = self()](const Error& error, std::size_t) { self->messageWritten(!error); });
  }

  void writePing() override {
    if (std::exchange(pings_, true)) return;  // the last one still waits behind a message
    socket_.async_ping({}, [self = self()](const Error&) { self->pings_ = false; });
  }

  void writeClose(CloseCode code) override {
    const websocket::close_reason reason(static_cast<websocket::close_code>(code.code),
                                         {code.text.data(), code.text.size()});
    socket_.async_close(reason, [self = self()](const Error&) { self->finished(); });
  }

  void closeSocket(SocketEnd end) override {
    Error ignored;
    auto& socket = boost::beast::get_lowest_layer(socket_);
    if (end == SocketEnd::reset) socket.set_option(boost::asio::socket_base::linger(true, 0), ignored);
    socket.close(ignored);
  }

 private:
  static constexpr unsigned kHttp11 = 11;
  static constexpr const char* kServerName = "tevanto-relay";
  static constexpr std::size_t kMaxHeadBytes = 8 * 1024;
  /// The bytes that a member's buffer may keep between two messages.
  static constexpr std::size_t kKeptBytes = 4 * 1024;

  using Answer = http::response<http::string_body>;
  struct Request {
    boost::beast::flat_buffer buffer{2 * kMaxHeadBytes};
    http::request_parser<http::empty_body> parser;
  };

  void requestRead(const Error& error) {
    const bool ended = error == http::error::end_of_stream || error == http::error::partial_message;
    // Errors of the parser have an answer, those of the socket have not.
    const bool isHttp = error.category() == make_error_code(http::error::bad_method).category();
    if (error && isHttp && !ended) return handleBadRequest();
    if (error) return readFailed();
    const auto& head = request_->parser.get();
    RelayRequest request;
    request.method = head.method_string();
    request.target = head.target();
    request.isUpgrade = websocket::is_upgrade(head);
    for (auto [field, end] = head.equal_range("X-Forwarded-For"); field != end; ++field) {
      if (!request.forwardedFor.empty()) request.forwardedFor += ',';
      request.forwardedFor += field->value();
    }
    // A WebSocket's client may not speak before it has been answered.
    if (request.isUpgrade && request_->buffer.size() != 0) return handleBadRequest();
    handleRequest(request);
  }

  /// Lets the other side read the answer before the socket is closed: bytes that were not read here would
  /// make the system reset the connection.
  void endStream() {
    using websocket::async_teardown;
    async_teardown(boost::beast::role_type::server, stream(),
                   [self = self()](const Error&) { self->finished(); });
  }

  void messageRead(const Error& error) {
    if (error) return readFailed();
    const auto bytes = buffer_.cdata();
    RelayMessage message{{static_cast<const char*>(bytes.data()), bytes.size()}, socket_.got_text()};
    buffer_.consume(buffer_.size());
    if (buffer_.capacity() > kKeptBytes) buffer_.shrink_to_fit();
    handleMessage(std::move(message));
  }

  websocket::stream<Stream, false> socket_;
  boost::beast::flat_buffer buffer_;
  std::unique_ptr<Request> request_;
  std::unique_ptr<Answer> answer_;
  bool pings_ = false;
};

}  // namespace tevanto::relay
