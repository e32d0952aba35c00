#include "net/web/BeastWebSocketCore.h"

#include <boost/asio/post.hpp>
#include <charconv>
#include <utility>

namespace tevanto {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

/// What a server that does not read may hold back here.
constexpr std::size_t kMaxUnsentBytes = 8 * 1024 * 1024;
/// Of a close frame without a code (RFC 6455, section 7.4.1).
constexpr std::uint16_t kNoCloseCode = 1005;

}  // namespace

BeastWebSocketCore::BeastWebSocketCore(const EventLoopQueue::Strand& strand,
                                       std::shared_ptr<AsioTlsContext> tls, const WebSocketLimits& limits,
                                       Handlers handlers)
    : strand_(strand),
      limits_(limits),
      opening_(std::make_shared<AsioOpening>(strand, std::move(tls))),
      limit_(strand),
      handlers_(std::move(handlers)) {}

void BeastWebSocketCore::begin(const std::string& text) {
  if (state_ != State::opening) return;
  const auto url = parseUrl(text);
  if (!url || !url->isWebSocket())
    return closeWith({.closeCode = {}, .error = "no WebSocket address: " + text});
  url_ = *url;
  arm(limits_.open, [this] { closeWith({.closeCode = {}, .error = url_.authority() + " took too long"}); });
  opening_->open(
      url_, [self = shared_from_this()](std::unique_ptr<AsioClientStream> stream, const std::string& fault) {
        self->connected(std::move(stream), fault);
      });
}

void BeastWebSocketCore::sendText(std::string text, SentHandler sent) {
  if (state_ == State::opening) return report(std::move(sent), "it is not open yet");
  if (state_ != State::open) return;
  if (broken_ || unsentBytes_ + text.size() > kMaxUnsentBytes) {
    return report(std::move(sent), broken_ ? fault_ : "too much is waiting to be sent");
  }
  unsentBytes_ += text.size();
  outbox_.push_back({std::move(text), std::move(sent)});
  if (outbox_.size() == 1) write();
}

void BeastWebSocketCore::ping(PongHandler pong) {
  if (state_ != State::opening && state_ != State::open) return;
  pings_.push_back({++lastPing_, std::move(pong)});
  if (state_ == State::open) writePing();
}

void BeastWebSocketCore::cancel(std::uint16_t closeCode) {
  if (state_ == State::closing || state_ == State::ended) return;
  silence();
  if (state_ == State::opening || broken_) return finish();
  state_ = State::closing;
  closeCode_ = closeCode;
  arm(limits_.close, [this] { finish(); });
  if (outbox_.empty()) close();
}

void BeastWebSocketCore::closeSilently() {
  if (state_ == State::closing || state_ == State::ended) return;
  silence();
  finish();
}

void BeastWebSocketCore::arm(Limit::duration duration, std::function<void()> expired) {
  limit_.expires_after(duration);
  const auto turn = ++limitTurn_;  // one that had expired before it was replaced does nothing
  limit_.async_wait([self = shared_from_this(), turn, expired = std::move(expired)](const error_code& error) {
    if (!error && turn == self->limitTurn_) expired();
  });
}

void BeastWebSocketCore::disarm() {
  ++limitTurn_;
  limit_.cancel();
}

void BeastWebSocketCore::connected(std::unique_ptr<AsioClientStream> stream, const std::string& fault) {
  if (state_ != State::opening) return;
  if (!stream) return closeWith({.closeCode = {}, .error = fault});
  stream_ = std::move(stream);
  socket_.emplace(*stream_);
  socket_->set_option(websocket::stream_base::decorator([](websocket::request_type& request) {
    request.set(http::field::user_agent, "Tevanto/" TEVANTO_VERSION);
  }));
  socket_->text(true);
  socket_->auto_fragment(false);
  socket_->read_message_max(WebSocketConnection::kMaxMessageBytes);
  socket_->control_callback([this](websocket::frame_type kind, boost::beast::string_view payload) {
    if (kind == websocket::frame_type::pong) ponged({payload.data(), payload.size()});
  });
  socket_->async_handshake(answer_, url_.authority(), url_.target,
                           [self = shared_from_this()](const error_code& error) { self->opened(error); });
}

void BeastWebSocketCore::opened(const error_code& error) {
  if (state_ != State::opening) return;
  if (error == websocket::error::upgrade_declined) {
    return closeWith(
        {.closeCode = {}, .error = "refused with HTTP status " + std::to_string(answer_.result_int())});
  }
  if (error) return closeWith({.closeCode = {}, .error = "no WebSocket: " + error.message()});
  disarm();
  state_ = State::open;
  read();
  if (!pings_.empty()) writePing();
  if (handlers_.onOpen) handlers_.onOpen();
}

void BeastWebSocketCore::read() {
  socket_->async_read(
      buffer_, [self = shared_from_this()](const error_code& error, std::size_t) { self->received(error); });
}

void BeastWebSocketCore::received(const error_code& error) {
  if (state_ != State::open) return;
  if (error) return handleReadError(error);
  const std::string_view message(static_cast<const char*>(buffer_.cdata().data()), buffer_.size());
  if (handlers_.onMessage) handlers_.onMessage(message);
  if (state_ != State::open) return;
  buffer_.clear();
  read();
}

void BeastWebSocketCore::handleReadError(const error_code& error) {
  const auto reason = socket_->reason();
  if (reason.code != websocket::close_code::none) return closeWith({.closeCode = reason.code, .error = {}});
  if (error == websocket::error::closed) return closeWith({.closeCode = kNoCloseCode, .error = {}});
  closeWith({.closeCode = {}, .error = broken_ ? fault_ : error.message()});
}

void BeastWebSocketCore::write() {
  // The text stays where it is until the write has ended, whatever becomes of the rest.
  auto text = std::make_shared<const std::string>(std::move(outbox_.front().text));
  const auto buffer = asio::buffer(*text);
  socket_->async_write(buffer, [self = shared_from_this(), text](const error_code& error, std::size_t) {
    self->written(error, text->size());
  });
}

void BeastWebSocketCore::written(const error_code& error, std::size_t size) {
  if (state_ == State::ended) return;
  if (error && state_ == State::closing) return finish();
  if (error) return writeFailed(error);
  auto sent = std::move(outbox_.front().sent);
  outbox_.pop_front();
  unsentBytes_ -= size;
  report(std::move(sent), std::nullopt);
  if (!outbox_.empty()) return write();
  if (state_ == State::closing) close();
}

void BeastWebSocketCore::writeFailed(const error_code& error) {
  broken_ = true;
  fault_ = error.message();
  failUnsent(fault_);
  if (socket_->reason().code == websocket::close_code::none) stream_->close();
}

void BeastWebSocketCore::failUnsent(const std::string& why) {
  for (auto& message : std::exchange(outbox_, {})) report(std::move(message.sent), why);
  unsentBytes_ = 0;
}

void BeastWebSocketCore::writePing() {
  if (std::exchange(pinging_, true)) return;
  if (!std::exchange(awaitsPong_, true)) arm(limits_.pong, [this] { pongOverdue(); });
  const auto number = lastPing_;
  websocket::ping_data payload;
  const auto digits = std::to_string(number);
  payload.assign(digits.data(), digits.size());
  socket_->async_ping(payload, [self = shared_from_this(), number](const error_code& error) {
    self->pinging_ = false;
    if (!error && self->state_ == State::open && self->lastPing_ != number) self->writePing();
  });
}

void BeastWebSocketCore::ponged(std::string_view payload) {
  std::uint64_t number = 0;
  const auto [end, fault] = std::from_chars(payload.data(), payload.data() + payload.size(), number);
  if (fault != std::errc() || end != payload.data() + payload.size() || state_ != State::open) return;
  const bool expected = !pings_.empty() && pings_.front().number <= number;
  while (!pings_.empty() && pings_.front().number <= number) {
    report(std::move(pings_.front().pong), std::nullopt);
    pings_.pop_front();
  }
  if (!expected) return;
  awaitsPong_ = !pings_.empty();
  if (awaitsPong_) return arm(limits_.pong, [this] { pongOverdue(); });
  disarm();
}

void BeastWebSocketCore::pongOverdue() {
  awaitsPong_ = false;
  for (auto& ping : std::exchange(pings_, {})) report(std::move(ping.pong), "no pong in time");
}

void BeastWebSocketCore::close() {
  socket_->async_close(closeCode_, [self = shared_from_this()](const error_code&) { self->finish(); });
}

void BeastWebSocketCore::report(SentHandler handler, std::optional<std::string> error) {
  if (!handler || silent_) return;
  asio::post(strand_, [self = shared_from_this(), handler = std::move(handler), error = std::move(error)] {
    if (!self->silent_) handler(error);
  });
}

void BeastWebSocketCore::closeWith(End why) {
  if (state_ == State::ended) return;
  failUnsent(why.closeCode ? "the server closed the connection" : why.error);
  finish();
  asio::post(strand_, [self = shared_from_this(), why = std::move(why)] {
    if (!self->silent_ && self->handlers_.onEnd) self->handlers_.onEnd(why);
    self->silence();
  });
}

void BeastWebSocketCore::finish() {
  if (std::exchange(state_, State::ended) == State::ended) return;
  disarm();
  opening_->cancel();
  if (stream_) stream_->close();
  outbox_.clear();
}

void BeastWebSocketCore::silence() {
  silent_ = true;
  asio::post(strand_, [self = shared_from_this()] {
    self->handlers_ = {};
    self->pings_.clear();
  });
}

}  // namespace tevanto
