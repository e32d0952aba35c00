#include "p2p/channels/DataChannelListener.h"

#include <utility>

#include "p2p/channels/DataChannelMessaging.h"

namespace tevanto {

std::shared_ptr<DataChannelListener> DataChannelListener::attach(
    std::shared_ptr<DataChannel> channel, DataChannelKind kind, std::weak_ptr<DataChannelMessaging> messaging,
    StateHandler onState) {
  auto link = std::make_shared<DataChannelListener>(std::move(channel), kind, std::move(messaging),
                                                    std::move(onState));
  link->channel_->setObserver(link);
  return link;
}

DataChannelListener::DataChannelListener(std::shared_ptr<DataChannel> channel, DataChannelKind kind,
                                         std::weak_ptr<DataChannelMessaging> messaging, StateHandler onState)
    : channel_(std::move(channel)),
      kind_(kind),
      messaging_(std::move(messaging)),
      onState_(std::move(onState)) {}

bool DataChannelListener::enters(DataChannelState state) {
  if (lastState_ && state <= *lastState_) return false;
  lastState_ = state;
  return true;
}

void DataChannelListener::admit() {
  const auto messaging = messaging_.lock();
  // Frames that come meanwhile still join those that wait, until none does: their order stays.
  for (auto frames = takeWaiting(); !frames.empty(); frames = takeWaiting()) {
    for (const auto& frame : frames) {
      if (messaging) messaging->received(*channel_, frame);
    }
  }
}

std::vector<std::vector<std::byte>> DataChannelListener::takeWaiting() {
  const std::lock_guard lock(mutex_);
  if (waiting_.empty()) admitted_ = true;
  waitingBytes_ = 0;
  return std::exchange(waiting_, {});
}

void DataChannelListener::detach() { channel_->setObserver({}); }

void DataChannelListener::dataChannelDidChangeState(DataChannel& channel) {
  onState_(*this, channel.state());
}

void DataChannelListener::dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) {
  if (waits(message)) return;
  if (const auto messaging = messaging_.lock()) messaging->received(channel, message);
}

bool DataChannelListener::waits(std::span<const std::byte> message) {
  const std::lock_guard lock(mutex_);
  if (admitted_) return false;
  const auto cost = message.size() + sizeof(std::vector<std::byte>);
  if (waitingBytes_ + cost <= kMaxWaitingBytes) {
    waitingBytes_ += cost;
    waiting_.emplace_back(message.begin(), message.end());
  }
  return true;
}

}  // namespace tevanto
