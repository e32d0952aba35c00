#include "p2p/signaling/SignalingClient.h"

#include <functional>
#include <string_view>
#include <utility>

namespace tevanto {
std::optional<Url> relayRoom(const std::string& relayURL, const std::string& room, SignalRole role) {
  auto url = parseUrl(relayURL);
  if (!url || !url->isWebSocket()) return std::nullopt;
  url->target = "/connect?room=" + percentEncoded(room) + "&role=" + std::string(toString(role));
  return url;
}

std::shared_ptr<SignalingClient> SignalingClient::create(std::vector<std::string> relays,
                                                         std::shared_ptr<WebSocketFactory> sockets,
                                                         std::shared_ptr<SerialQueue> stateQueue,
                                                         std::shared_ptr<LogSink> log) {
  return std::shared_ptr<SignalingClient>(
      new SignalingClient(std::move(relays), std::move(sockets), std::move(stateQueue), std::move(log)));
}

SignalingClient::SignalingClient(std::vector<std::string> relays, std::shared_ptr<WebSocketFactory> sockets,
                                 std::shared_ptr<SerialQueue> stateQueue, std::shared_ptr<LogSink> log)
    : QueueBound(std::move(stateQueue)),
      relays_(std::move(relays)),
      sockets_(std::move(sockets)),
      log_(std::move(log), "signaling") {}

SignalingClient::~SignalingClient() = default;

template <class Work>
auto SignalingClient::ofCurrentTask(Work work) {
  return weakCall([task = std::weak_ptr(task_), work](SignalingClient& self, auto&&... arguments) {
    if (self.closed_ || !self.task_ || self.task_ != task.lock()) return;
    std::invoke(work, self, arguments...);
  });
}

void SignalingClient::connect(const std::string& room, SignalRole role) {
  post([room, role](SignalingClient& self) {
    if (self.closed_ || self.task_) return;
    self.room_ = room;
    self.role_ = role;
    self.attempt();
  });
}

void SignalingClient::send(const SignalMessage& message) {
  post([message](SignalingClient& self) { self.sendNow(message); });
}

void SignalingClient::close() {
  if (closed_.exchange(true)) return;
  // Holds the client: its owner may release it right after this, and the relay is to hear of it still.
  queue()->async([self = shared_from_this()] { self->closeNow(); });
}

void SignalingClient::attempt() {
  assertOnQueue();
  if (urlIndex_ >= relays_.size()) {
    log_.info("all signaling hosts failed");
    if (onClose) onClose();
    return;
  }
  const auto& endpoint = relays_[urlIndex_];
  const auto url = relayRoom(endpoint, room_, role_);
  host_ = url ? url->host : endpoint;
  log_.info("connecting role=" + std::string(toString(role_)) + " via " + host_);
  // An invalid endpoint fails as any other: the socket reports the reason.
  startTask(url ? url->text() : endpoint);
}

void SignalingClient::startTask(const std::string& url) {
  task_ = sockets_->create(url);
  isConnected_ = false;
  WebSocketConnection::Handlers handlers;
  handlers.onOpen = ofCurrentTask(&SignalingClient::opened);
  handlers.onMessage = ofCurrentTask(&SignalingClient::received);
  handlers.onEnd = ofCurrentTask(&SignalingClient::ended);
  task_->start(queue(), std::move(handlers));
  openTimeout_ = queue()->asyncAfter(kOpenTimeout, ofCurrentTask([](SignalingClient& self) {
                                       if (!self.isConnected_) {
                                         self.fail("open timed out via " + self.host_);
                                       }
                                     }));
}

void SignalingClient::opened() {
  isConnected_ = true;
  openTimeout_.cancel();
  log_.info("open via " + host_);
  if (onOpen) onOpen();
  schedulePing();
}

void SignalingClient::schedulePing() {
  nextPing_ = queue()->asyncAfter(kPingInterval, ofCurrentTask(&SignalingClient::ping));
}

void SignalingClient::ping() {
  if (!isConnected_) return;
  task_->ping(ofCurrentTask([](SignalingClient& self, const std::optional<std::string>& error) {
    if (error) return self.fail("ping failed: " + *error);
    self.schedulePing();
  }));
}

void SignalingClient::received(std::string_view frame) {
  auto message = decodeSignalMessage(frame);
  if (message && onMessage) onMessage(std::move(*message));
}

void SignalingClient::ended(const WebSocketConnection::End& end) {
  if (end.closeCode) return fail("server closed (code " + std::to_string(*end.closeCode) + ")");
  fail("receive failed: " + end.error);
}

// Drops a signal from before the relay is open: its owner sends it again once it is. If it were kept, an
// offer would come twice, and the second one would be answered with the state from before the first.
void SignalingClient::sendNow(const SignalMessage& message) {
  assertOnQueue();
  if (!isConnected_) return;
  task_->sendText(
      encodeSignalMessage(message),
      ofCurrentTask([type = message.type](SignalingClient& self, const std::optional<std::string>& error) {
        if (error) self.log_.info("send " + type + " failed: " + *error);
      }));
}

void SignalingClient::fail(const std::string& reason) {
  assertOnQueue();
  log_.info(reason);
  const bool hadOpened = isConnected_;
  cancelTask(WebSocketConnection::kGoingAway);
  if (hadOpened) {
    if (onClose) onClose();
    return;
  }
  ++urlIndex_;
  attempt();
}

void SignalingClient::closeNow() {
  if (isConnected_) sendNow({.type = "bye"});
  cancelTask(WebSocketConnection::kGoingAway);
}

/// The socket sends what it was given, the goodbye above all, before it closes.
void SignalingClient::cancelTask(std::uint16_t closeCode) {
  isConnected_ = false;
  openTimeout_.cancel();
  nextPing_.cancel();
  if (const auto task = std::exchange(task_, nullptr)) task->cancel(closeCode);
}

}  // namespace tevanto
