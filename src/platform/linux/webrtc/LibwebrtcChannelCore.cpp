#include "platform/linux/webrtc/LibwebrtcChannelCore.h"

#include <utility>

namespace tevanto {
namespace {

DataChannelState stateOf(webrtc::DataChannelInterface::DataState state) {
  switch (state) {
    case webrtc::DataChannelInterface::kConnecting:
      return DataChannelState::connecting;
    case webrtc::DataChannelInterface::kOpen:
      return DataChannelState::open;
    case webrtc::DataChannelInterface::kClosing:
      return DataChannelState::closing;
    case webrtc::DataChannelInterface::kClosed:
      break;
  }
  return DataChannelState::closed;
}

std::span<const std::byte> bytesOf(const rtc::CopyOnWriteBuffer& message) {
  return {reinterpret_cast<const std::byte*>(message.cdata()), message.size()};
}

// As the engine itself keeps for a channel that nobody listens to.
constexpr std::size_t kMaxEarlyBytes = 16 * 1024 * 1024;

}  // namespace

LibwebrtcChannelCore::LibwebrtcChannelCore(rtc::scoped_refptr<webrtc::DataChannelInterface> channel)
    : channel_(std::move(channel)), state_(stateOf(channel_->state())) {}

void LibwebrtcChannelCore::connect(std::weak_ptr<DataChannel> owner) {
  owner_ = std::move(owner);
  channel_->RegisterObserver(this);
  state_ = stateOf(channel_->state());
}

void LibwebrtcChannelCore::send(const rtc::CopyOnWriteBuffer& message) {
  // The engine tells through OnBufferedAmountChange of what it sent.
  if (!channel_->Send({message, true})) buffered_ -= message.size();
}

void LibwebrtcChannelCore::close() { channel_->Close(); }

void LibwebrtcChannelCore::disconnect() {
  channel_->UnregisterObserver();
  channel_->Close();
  early_.clear();
}

DataChannelState LibwebrtcChannelCore::state() const {
  const auto state = state_.load();
  return closing_ && state < DataChannelState::closing ? DataChannelState::closing : state;
}

bool LibwebrtcChannelCore::reserve(std::size_t bytes) {
  if (state() != DataChannelState::open) return false;
  if (buffered_.fetch_add(bytes) + bytes <= webrtc::DataChannelInterface::MaxSendQueueSize()) return true;
  buffered_ -= bytes;
  return false;
}

void LibwebrtcChannelCore::setObserver(std::weak_ptr<DataChannel::Observer> observer) {
  {
    const std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
    hasHadObserver_ = true;
  }
  gate_.quiesce();
}

std::shared_ptr<DataChannel::Observer> LibwebrtcChannelCore::observer() const {
  const std::lock_guard lock(mutex_);
  return observer_.lock();
}

bool LibwebrtcChannelCore::hasHadObserver() const {
  const std::lock_guard lock(mutex_);
  return hasHadObserver_;
}

void LibwebrtcChannelCore::OnStateChange() {
  state_ = stateOf(channel_->state());
  const CallbackGuard::Call call(gate_);
  const auto channel = owner_.lock();
  const auto listener = observer();
  if (channel && listener) listener->dataChannelDidChangeState(*channel);
}

void LibwebrtcChannelCore::OnMessage(const webrtc::DataBuffer& buffer) {
  if (!hasHadObserver() || !early_.empty()) return keepEarly(buffer.data);
  deliver(buffer.data);
}

void LibwebrtcChannelCore::deliverEarly() {
  for (const auto& message : std::exchange(early_, {})) deliver(message);
}

void LibwebrtcChannelCore::deliver(const rtc::CopyOnWriteBuffer& message) {
  const CallbackGuard::Call call(gate_);
  const auto channel = owner_.lock();
  const auto listener = observer();
  if (channel && listener) listener->dataChannelDidReceive(*channel, bytesOf(message));
}

void LibwebrtcChannelCore::keepEarly(const rtc::CopyOnWriteBuffer& message) {
  earlyBytes_ += message.size();
  if (earlyBytes_ > kMaxEarlyBytes) return close();
  early_.push_back(message);
}

}  // namespace tevanto
