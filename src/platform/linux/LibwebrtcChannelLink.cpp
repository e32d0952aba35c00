#include "platform/linux/LibwebrtcChannelLink.h"

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

LibwebrtcChannelLink::LibwebrtcChannelLink(rtc::scoped_refptr<webrtc::DataChannelInterface> channel,
                                           SctpSource sctp)
    : channel_(std::move(channel)), sctp_(std::move(sctp)), state_(DataChannelState::connecting) {
  takeState();
}

void LibwebrtcChannelLink::connect(std::weak_ptr<DataChannel> owner) {
  owner_ = std::move(owner);
  channel_->RegisterObserver(this);
  takeState();
}

void LibwebrtcChannelLink::takeState() {
  const auto state = stateOf(channel_->state());
  if (state == DataChannelState::open) shortRoad_.open(sctp_(), *channel_);
  if (state > DataChannelState::open) shortRoad_.close();
  state_ = state;
}

void LibwebrtcChannelLink::send(const rtc::CopyOnWriteBuffer& message) {
  if (!channel_) return;
  if (!channel_->Send({message, true})) {
    buffered_ -= message.size();
    shortRoad_.signalingSent(1);
  } else if (message.size() == 0) {
    countSent();
  }
}

void LibwebrtcChannelLink::OnBufferedAmountChange(std::uint64_t sent) {
  buffered_ -= sent;
  countSent();
}

// The engine does not tell when it sends an empty message that had to wait. Until the next message, which has
// to go behind that one then, it counts as waiting.
void LibwebrtcChannelLink::countSent() {
  const auto before = std::exchange(sentCount_, channel_->messages_sent());
  shortRoad_.signalingSent(sentCount_ - before);
}

void LibwebrtcChannelLink::close() {
  if (channel_) channel_->Close();
}

void LibwebrtcChannelLink::disconnect() {
  channel_->UnregisterObserver();
  channel_->Close();
  channel_ = nullptr;
  early_.clear();
}

bool LibwebrtcChannelLink::sendNow(const rtc::CopyOnWriteBuffer& message) {
  if (!shortRoad_.send(message)) return false;
  buffered_ -= message.size();
  return true;
}

DataChannelState LibwebrtcChannelLink::state() const {
  const auto state = state_.load();
  return closing_ && state < DataChannelState::closing ? DataChannelState::closing : state;
}

bool LibwebrtcChannelLink::reserve(std::size_t bytes) {
  if (state() != DataChannelState::open) return false;
  if (buffered_.fetch_add(bytes) + bytes <= webrtc::DataChannelInterface::MaxSendQueueSize()) return true;
  buffered_ -= bytes;
  return false;
}

void LibwebrtcChannelLink::setObserver(std::weak_ptr<DataChannel::Observer> observer) {
  {
    const std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
    hasHadObserver_ = true;
  }
  gate_.quiesce();
}

std::shared_ptr<DataChannel::Observer> LibwebrtcChannelLink::observer() const {
  const std::lock_guard lock(mutex_);
  return observer_.lock();
}

bool LibwebrtcChannelLink::hasHadObserver() const {
  const std::lock_guard lock(mutex_);
  return hasHadObserver_;
}

void LibwebrtcChannelLink::OnStateChange() {
  takeState();
  const CallGate::Call call(gate_);
  const auto channel = owner_.lock();
  const auto listener = observer();
  if (channel && listener) listener->dataChannelDidChangeState(*channel);
}

void LibwebrtcChannelLink::OnMessage(const webrtc::DataBuffer& buffer) {
  if (!hasHadObserver() || !early_.empty()) return keepEarly(buffer.data);
  deliver(buffer.data);
}

void LibwebrtcChannelLink::deliverEarly() {
  for (const auto& message : std::exchange(early_, {})) deliver(message);
}

void LibwebrtcChannelLink::deliver(const rtc::CopyOnWriteBuffer& message) {
  const CallGate::Call call(gate_);
  const auto channel = owner_.lock();
  const auto listener = observer();
  if (channel && listener) listener->dataChannelDidReceive(*channel, bytesOf(message));
}

void LibwebrtcChannelLink::keepEarly(const rtc::CopyOnWriteBuffer& message) {
  earlyBytes_ += message.size();
  if (earlyBytes_ > kMaxEarlyBytes) return close();
  early_.push_back(message);
}

}  // namespace tevanto
