#pragma once

#include <cassert>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "net/web/WebSocketConnection.h"

namespace tevanto::test {

/// The server and the network behind one fake WebSocket: what the test does and sees. Lives longer than the
/// connection. Use it while the connection's queue does not run.
class FakeWebSocketPeer : public std::enable_shared_from_this<FakeWebSocketPeer> {
 public:
  explicit FakeWebSocketPeer(std::string itsUrl) : url(std::move(itsUrl)) {}

  const std::string url;
  /// Text frames in the order of their arrival.
  std::vector<std::string> received;
  std::optional<std::uint16_t> cancelledWith;
  int pingCount = 0;
  /// What becomes of the texts that are sent: an error, or nothing when they arrive.
  std::optional<std::string> sendError;
  /// Whether callbacks come even after `cancel`, as those of a connection that is slow to stop do.
  bool isStubborn = false;

  void open() {
    later([this] {
      isOpen_ = true;
      handlers_.onOpen();
    });
  }
  void send(std::string message) {
    later([this, message = std::move(message)] { handlers_.onMessage(message); });
  }
  void closeWith(std::uint16_t code) { end({.closeCode = code, .error = {}}); }
  void fail(std::string error) { end({.closeCode = {}, .error = std::move(error)}); }
  /// Answers the oldest ping.
  void pong(std::optional<std::string> error = {}) {
    assert(!pings_.empty() && "no ping to answer");
    auto handler = std::move(pings_.front());
    pings_.pop_front();
    later([handler = std::move(handler), error = std::move(error)] { handler(error); });
  }

  bool isStarted() const { return queue_ != nullptr; }
  std::string queueLabel() const { return queue_->label(); }

 private:
  friend class FakeWebSocketConnection;

  template <class Work>
  void later(Work work) {
    queue_->async([self = shared_from_this(), work = std::move(work)] {
      if (self->isStubborn || !self->ended_) work();
    });
  }

  void end(WebSocketConnection::End why) {
    later([this, why = std::move(why)] {
      ended_ = true;
      handlers_.onEnd(why);
    });
  }

  void take(std::string text, const WebSocketConnection::SentHandler& sent) {
    const auto error = isOpen_ ? sendError : std::optional<std::string>("it is not open yet");
    if (!error) received.push_back(std::move(text));
    later([sent, error] {
      if (sent) sent(error);
    });
  }

  std::shared_ptr<SerialQueue> queue_;
  WebSocketConnection::Handlers handlers_;
  std::deque<WebSocketConnection::PongHandler> pings_;
  bool isOpen_ = false;
  bool ended_ = false;
};

/// A WebSocket without a network, that keeps the contract of the real ones.
class FakeWebSocketConnection final : public WebSocketConnection {
 public:
  explicit FakeWebSocketConnection(std::shared_ptr<FakeWebSocketPeer> peer) : peer_(std::move(peer)) {}
  ~FakeWebSocketConnection() override { peer_->ended_ = true; }

  void start(std::shared_ptr<SerialQueue> queue, Handlers handlers) override {
    assert(!peer_->queue_ && "a connection is started once");
    peer_->queue_ = std::move(queue);
    peer_->handlers_ = std::move(handlers);
  }
  void sendText(std::string text, SentHandler sent) override {
    assert(peer_->queue_->isCurrent());
    if (!peer_->ended_) peer_->take(std::move(text), sent);
  }
  void ping(PongHandler pong) override {
    assert(peer_->queue_->isCurrent());
    ++peer_->pingCount;
    peer_->pings_.push_back(std::move(pong));
  }
  void cancel(std::uint16_t closeCode) override {
    if (std::exchange(peer_->ended_, true)) return;
    peer_->cancelledWith = closeCode;
  }

 private:
  std::shared_ptr<FakeWebSocketPeer> peer_;
};

/// Makes fake WebSockets and keeps the other end of each.
class FakeWebSocketFactory final : public WebSocketFactory {
 public:
  std::shared_ptr<WebSocketConnection> create(const std::string& url) override {
    peers.push_back(std::make_shared<FakeWebSocketPeer>(url));
    return std::make_shared<FakeWebSocketConnection>(peers.back());
  }

  std::vector<std::shared_ptr<FakeWebSocketPeer>> peers;
};

}  // namespace tevanto::test
