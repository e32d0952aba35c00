#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "net/tcp/TcpListener.h"
#include "tests/support/fakes/FakeTcpConnection.h"

namespace tevanto::test {

/// What a fake listener was told, and what the test makes it do.
struct FakeListenerState {
  std::uint16_t port = 0;
  std::shared_ptr<SerialQueue> queue;
  std::function<void(ListenerState)> onState;
  std::function<void(std::unique_ptr<TcpConnection>)> onConnection;
  bool started = false;
  bool cancelled = false;

  /// Reports in the queue's next turn.
  void report(ListenerState state) {
    queue->async([handler = onState, state] { handler(state); });
  }
  /// A peer connects; the listener hears of it in the queue's next turn.
  std::shared_ptr<FakeTcpPeer> connect(bool readyOnStart = true) {
    auto peer = std::make_shared<FakeTcpPeer>();
    peer->readyOnStart = readyOnStart;
    queue->async([handler = onConnection, peer] { handler(std::make_unique<FakeTcpConnection>(peer)); });
    return peer;
  }
};

/// Makes listeners without a network. A port of 0 gives `kFreePort`.
class FakeListenerFactory final : public TcpListenerFactory {
 public:
  static constexpr std::uint16_t kFreePort = 40000;

  /// When set, no listener can be made, for this reason.
  std::optional<std::string> failure;
  /// The listener that was made last, and how many were.
  std::shared_ptr<FakeListenerState> last;
  int made = 0;

  Result<std::unique_ptr<TcpListener>> listen(std::uint16_t port) override {
    if (failure) return Failure{*failure};
    ++made;
    last = std::make_shared<FakeListenerState>();
    last->port = port == 0 ? kFreePort : port;
    return std::unique_ptr<TcpListener>(std::make_unique<Listener>(last));
  }

 private:
  class Listener final : public TcpListener {
   public:
    explicit Listener(std::shared_ptr<FakeListenerState> state) : state_(std::move(state)) {}

    void setStateHandler(std::function<void(ListenerState)> handler) override {
      state_->onState = std::move(handler);
    }
    void setConnectionHandler(std::function<void(std::unique_ptr<TcpConnection>)> handler) override {
      state_->onConnection = std::move(handler);
    }
    void start(std::shared_ptr<SerialQueue> queue) override {
      state_->queue = std::move(queue);
      state_->started = true;
      state_->report(ListenerState::ready);
    }
    void cancel() override {
      if (std::exchange(state_->cancelled, true) || !state_->started) return;
      state_->report(ListenerState::cancelled);
    }
    std::uint16_t port() const override { return state_->port; }

   private:
    std::shared_ptr<FakeListenerState> state_;
  };
};

}  // namespace tevanto::test
