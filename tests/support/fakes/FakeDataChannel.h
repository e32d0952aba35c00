#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "p2p/peer/PeerConnection.h"

namespace tevanto::test {

/// One end of a data channel that records what is sent, and is in the state that the test says.
/// Single-threaded.
class FakeDataChannel final : public DataChannel {
 public:
  explicit FakeDataChannel(std::string label, DataChannelState state = DataChannelState::open)
      : currentState(state), label_(std::move(label)) {}

  std::string label() const override { return label_; }
  DataChannelState state() const override { return currentState; }
  std::uint64_t bufferedAmount() const override { return buffered; }
  bool send(std::span<const std::byte> message) override {
    if (currentState != DataChannelState::open || sent.size() == refusesFrom) return false;
    sent.emplace_back(message.begin(), message.end());
    return true;
  }
  void setObserver(std::weak_ptr<Observer> observer) override { observer_ = std::move(observer); }
  void close() override { becomes(DataChannelState::closed); }

  /// Enters a state and tells the observer.
  void becomes(DataChannelState state) {
    if (currentState == state) return;
    currentState = state;
    if (const auto observer = observer_.lock()) observer->dataChannelDidChangeState(*this);
  }
  /// A message from the other end.
  void receive(std::span<const std::byte> message) {
    if (const auto observer = observer_.lock()) observer->dataChannelDidReceive(*this, message);
  }
  bool isObserved() const { return !observer_.expired(); }

  std::vector<std::vector<std::byte>> sent;
  DataChannelState currentState;
  std::uint64_t buffered = 0;
  /// The number of messages after which it takes no more.
  std::size_t refusesFrom = SIZE_MAX;

 private:
  const std::string label_;
  std::weak_ptr<Observer> observer_;
};

}  // namespace tevanto::test
