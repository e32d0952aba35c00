#include "platform/macos/values/network/ChannelCallbacks.h"

#include <utility>

#include "platform/macos/values/network/PeerStates.h"

namespace tevanto {

ChannelCallbacks::ChannelCallbacks(std::shared_ptr<SerialQueue> queue, DataChannelState state)
    : queue_(std::move(queue)), state_(state) {}

void ChannelCallbacks::stateChanged(DataChannelState state) {
  queue_->async([self = shared_from_this(), state] {
    // A channel only ever goes on; what was read beside its reports may come late.
    if (state <= self->state_) return;
    self->state_ = state;
    const CallbackGuard::Call call(self->gate_);
    const auto channel = self->owner_.lock();
    const auto listener = self->observer();
    if (channel && listener) listener->dataChannelDidChangeState(*channel);
  });
}

void ChannelCallbacks::received(Message message) {
  queue_->async([self = shared_from_this(), message = std::move(message)]() mutable {
    self->onMessage(std::move(message));
  });
}

DataChannelState ChannelCallbacks::state() const {
  const auto state = state_.load();
  return closing_ && state < DataChannelState::closing ? DataChannelState::closing : state;
}

void ChannelCallbacks::setObserver(std::weak_ptr<DataChannel::Observer> observer) {
  {
    const std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
    hasHadObserver_ = true;
  }
  gate_.quiesce();
  queue_->async([self = shared_from_this()] { self->deliverEarly(); });
}

std::shared_ptr<DataChannel::Observer> ChannelCallbacks::observer() const {
  const std::lock_guard lock(mutex_);
  return observer_.lock();
}

bool ChannelCallbacks::hasHadObserver() const {
  const std::lock_guard lock(mutex_);
  return hasHadObserver_;
}

void ChannelCallbacks::onMessage(Message message) {
  // Not past those that still wait for their turn.
  if (!hasHadObserver() || !early_.empty()) return keepEarly(std::move(message));
  deliver(message);
}

void ChannelCallbacks::keepEarly(Message message) {
  earlyBytes_ += message.size();
  if (earlyBytes_ <= kMaxBufferedBytes) return early_.push_back(std::move(message));
  if (const auto channel = owner_.lock()) channel->close();
}

void ChannelCallbacks::deliverEarly() {
  earlyBytes_ = 0;
  for (const auto& message : std::exchange(early_, {})) deliver(message);
}

void ChannelCallbacks::deliver(const Message& message) {
  const CallbackGuard::Call call(gate_);
  const auto channel = owner_.lock();
  const auto listener = observer();
  if (channel && listener) listener->dataChannelDidReceive(*channel, message);
}

}  // namespace tevanto
