#include "tests/support/peers/PeerSide.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <utility>

#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

/// What `start` hands to its completion; a failure when that does not come.
template <class T, class Start>
T awaited(Start start, T otherwise) {
  auto promise = std::make_shared<std::promise<T>>();
  auto future = promise->get_future();
  start([promise](T result) { promise->set_value(std::move(result)); });
  if (future.wait_for(std::chrono::seconds(60)) != std::future_status::ready) return otherwise;
  return future.get();
}

const Failure kNoCompletion{"no completion came"};

}  // namespace

std::shared_ptr<PeerSide> PeerSide::make(PeerConnectionFactory& factory,
                                         const PeerConfiguration& configuration) {
  auto side = std::make_shared<PeerSide>();
  side->peer_ = factory.create(configuration, side);
  if (!side->peer_) throw std::runtime_error("the factory makes no peer");
  return side;
}

void PeerSide::trickleTo(const std::shared_ptr<PeerSide>& other, Filter filter) {
  const std::lock_guard lock(mutex_);
  other_ = other;
  filter_ = std::move(filter);
}

std::shared_ptr<DataChannel> PeerSide::openChannel(const std::string& label,
                                                   const DataChannelOptions& options) {
  auto channel = peer_->createDataChannel(label, options);
  if (!channel) return nullptr;
  channel->setObserver(weak_from_this());
  const std::lock_guard lock(mutex_);
  return channels_[label] = channel;
}

std::shared_ptr<DataChannel> PeerSide::channel(const std::string& label) const {
  const std::lock_guard lock(mutex_);
  const auto found = channels_.find(label);
  return found == channels_.end() ? nullptr : found->second;
}

Result<SessionDescription> PeerSide::createOffer() {
  return awaited<Result<SessionDescription>>([&](auto done) { peer_->createOffer(done); }, kNoCompletion);
}

Result<SessionDescription> PeerSide::createAnswer() {
  return awaited<Result<SessionDescription>>([&](auto done) { peer_->createAnswer(done); }, kNoCompletion);
}

Result<void> PeerSide::setLocal(const SessionDescription& description) {
  return awaited<Result<void>>([&](auto done) { peer_->setLocalDescription(description, done); },
                               kNoCompletion);
}

Result<void> PeerSide::setRemote(const SessionDescription& description) {
  auto set = awaited<Result<void>>([&](auto done) { peer_->setRemoteDescription(description, done); },
                                   kNoCompletion);
  if (set) becomeRemote();
  return set;
}

RouteReport PeerSide::statistics() {
  return awaited<RouteReport>([&](auto done) { peer_->statistics(done); }, RouteReport());
}

void PeerSide::becomeRemote() {
  const std::lock_guard lock(mutex_);
  hasRemote_ = true;
  for (const auto& candidate : std::exchange(waiting_, {})) peer_->addCandidate(candidate);
}

void PeerSide::takeCandidate(const IceCandidate& candidate) {
  const std::lock_guard lock(mutex_);
  if (!hasRemote_) return waiting_.push_back(candidate);
  peer_->addCandidate(candidate);
}

std::vector<std::string> PeerSide::received(const std::string& label) const {
  const std::lock_guard lock(mutex_);
  const auto found = received_.find(label);
  return found == received_.end() ? std::vector<std::string>() : found->second;
}

std::size_t PeerSide::receivedCount(const std::string& label) const {
  const std::lock_guard lock(mutex_);
  const auto found = received_.find(label);
  return found == received_.end() ? 0 : found->second.size();
}

std::vector<IceConnectionState> PeerSide::iceStates() const {
  const std::lock_guard lock(mutex_);
  return iceStates_;
}

std::vector<IceGatheringState> PeerSide::gatheringStates() const {
  const std::lock_guard lock(mutex_);
  return gatheringStates_;
}

std::vector<IceCandidate> PeerSide::candidates() const {
  const std::lock_guard lock(mutex_);
  return candidates_;
}

std::vector<DataChannelState> PeerSide::channelStates(const std::string& label) const {
  const std::lock_guard lock(mutex_);
  const auto found = channelStates_.find(label);
  return found == channelStates_.end() ? std::vector<DataChannelState>() : found->second;
}

void PeerSide::peerDidChangeIceConnectionState(IceConnectionState state) {
  const std::lock_guard lock(mutex_);
  iceStates_.push_back(state);
}

void PeerSide::peerDidChangeIceGatheringState(IceGatheringState state) {
  const std::lock_guard lock(mutex_);
  gatheringStates_.push_back(state);
}

void PeerSide::peerDidGenerateCandidate(const IceCandidate& candidate) {
  std::shared_ptr<PeerSide> other;
  {
    const std::lock_guard lock(mutex_);
    candidates_.push_back(candidate);
    if (!filter_ || filter_(candidate)) other = other_.lock();
  }
  if (other) other->takeCandidate(candidate);
}

void PeerSide::peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) {
  if (observesAtOnce) channel->setObserver(weak_from_this());
  const std::lock_guard lock(mutex_);
  channels_[channel->label()] = std::move(channel);
}

void PeerSide::dataChannelDidChangeState(DataChannel& channel) {
  const std::lock_guard lock(mutex_);
  channelStates_[channel.label()].push_back(channel.state());
}

void PeerSide::dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) {
  if (onMessage) return onMessage(channel, message);
  const std::lock_guard lock(mutex_);
  received_[channel.label()].emplace_back(reinterpret_cast<const char*>(message.data()), message.size());
}

Result<void> negotiate(PeerSide& offerer, PeerSide& answerer) {
  const auto offer = offerer.createOffer();
  if (!offer) return Failure{offer.error()};
  if (auto set = offerer.setLocal(offer.value()); !set) return set;
  if (auto set = answerer.setRemote(offer.value()); !set) return set;
  const auto answer = answerer.createAnswer();
  if (!answer) return Failure{answer.error()};
  if (auto set = answerer.setLocal(answer.value()); !set) return set;
  return offerer.setRemote(answer.value());
}

void PeerPair::close() const {
  offerer->peer().close();
  answerer->peer().close();
}

PeerPair connectedPair(PeerConnectionFactory& factory, const PeerConfiguration& configuration,
                       const PeerSide::Filter& filter) {
  const PeerPair pair{PeerSide::make(factory, configuration), PeerSide::make(factory, configuration)};
  pair.offerer->trickleTo(pair.answerer, filter);
  pair.answerer->trickleTo(pair.offerer, filter);
  if (!pair.offerer->openChannel("tevanto")) return {};
  if (!negotiate(*pair.offerer, *pair.answerer)) return {};
  const auto isOpen = [](const PeerSide& side) {
    const auto channel = side.channel("tevanto");
    return channel && channel->state() == DataChannelState::open;
  };
  return eventually([&] { return isOpen(*pair.offerer) && isOpen(*pair.answerer); }) ? pair : PeerPair();
}

}  // namespace tevanto::test
