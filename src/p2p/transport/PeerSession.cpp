#include "p2p/transport/PeerSession.h"

#include <algorithm>

#include "p2p/channels/DataChannelListener.h"
#include "p2p/channels/DataChannelMessaging.h"

namespace tevanto {

template <class Work>
auto PeerSession::onQueue(Work work) {
  return weakly(shared_from_this(), environment_.queue, [work](PeerSession& self, auto... arguments) {
    if (!self.closed_) work(self, std::move(arguments)...);
  });
}

std::shared_ptr<PeerSession> PeerSession::make(PeerConnectionFactory& factory,
                                               const PeerConfiguration& configuration,
                                               Environment environment, Delegate& delegate) {
  auto session = std::make_shared<PeerSession>(std::move(environment), delegate);
  session->peer_ = factory.create(configuration, session);
  return session->peer_ ? session : nullptr;
}

PeerSession::PeerSession(Environment environment, Delegate& delegate)
    : environment_(std::move(environment)), delegate_(delegate) {}

PeerSession::~PeerSession() { close(); }

bool PeerSession::createChannel(std::string_view label, const DataChannelOptions& options) {
  const auto kind = dataChannelKind(label);
  if (hasChannel(kind)) return true;
  auto channel = peer_->createDataChannel(std::string(label), options);
  if (!channel) return false;
  adopt(attach(std::move(channel), kind));
  return true;
}

bool PeerSession::hasChannel(DataChannelKind kind) const {
  return links_[static_cast<std::size_t>(kind)] != nullptr;
}

void PeerSession::describe(SdpType type, DescriptionHandler done) {
  auto made = onQueue([done = std::move(done)](PeerSession& self, const Result<SessionDescription>& result) {
    if (!result.ok()) return done(result);
    self.setLocalDescription(result.value(), done);
  });
  if (type == SdpType::offer) {
    peer_->createOffer(std::move(made));
  } else {
    peer_->createAnswer(std::move(made));
  }
}

void PeerSession::setLocalDescription(const SessionDescription& description, const DescriptionHandler& done) {
  peer_->setLocalDescription(
      description, onQueue([description, done](PeerSession&, const Result<void>& set) {
        done(set.ok() ? Result(description) : Result<SessionDescription>(Failure{set.error()}));
      }));
}

void PeerSession::setRemoteDescription(const SessionDescription& description, DoneHandler done) {
  peer_->setRemoteDescription(
      description, onQueue([done = std::move(done)](PeerSession& self, const Result<void>& result) {
        if (result.ok()) self.remoteDescriptionIsSet();
        done(result);
      }));
}

void PeerSession::remoteDescriptionIsSet() {
  hasRemoteDescription_ = true;
  for (const auto& candidate : std::exchange(pendingCandidates_, {})) peer_->addCandidate(candidate);
}

void PeerSession::addRemoteCandidate(IceCandidate candidate) {
  if (hasRemoteDescription_) {
    peer_->addCandidate(candidate);
  } else if (pendingCandidates_.size() < kMaxPendingCandidates) {
    pendingCandidates_.push_back(std::move(candidate));
  }
}

void PeerSession::statistics(StatisticsHandler done) {
  peer_->statistics(
      onQueue([done = std::move(done)](PeerSession&, const RouteReport& report) { done(report); }));
}

void PeerSession::close() {
  if (std::exchange(closed_, true)) return;
  for (auto& link : links_) {
    const auto last = std::exchange(link, nullptr);
    if (!last) continue;
    last->detach();
    publish(last->kind(), nullptr);
    last->channel()->close();
  }
  if (const auto peer = std::exchange(peer_, nullptr)) peer->close();
}

void PeerSession::peerDidChangeIceConnectionState(IceConnectionState state) {
  onQueue([](PeerSession& self, IceConnectionState now) { self.delegate_.iceConnectionStateDidChange(now); })(
      state);
}

void PeerSession::peerDidChangeIceGatheringState(IceGatheringState state) {
  if (state != IceGatheringState::complete) return;
  onQueue([](PeerSession& self) { self.delegate_.iceGatheringDidComplete(); })();
}

void PeerSession::peerDidGenerateCandidate(const IceCandidate& candidate) {
  onQueue([](PeerSession& self, const IceCandidate& gathered) {
    self.localCandidates_.push_back(gathered);
    self.delegate_.localCandidateWasGathered(gathered);
  })(candidate);
}

void PeerSession::peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) {
  const auto kind = dataChannelKind(channel->label());
  if (kind == DataChannelKind::unknown) {
    onQueue([](PeerSession& self, const std::shared_ptr<DataChannel>& stranger) { self.reject(stranger); })(
        std::move(channel));
    return;
  }
  // Listened to at once, or what follows the opening closely would be missed.
  onQueue([](PeerSession& self, const std::shared_ptr<DataChannelListener>& link) { self.adopt(link); })(
      attach(std::move(channel), kind));
}

std::shared_ptr<DataChannelListener> PeerSession::attach(std::shared_ptr<DataChannel> channel,
                                                         DataChannelKind kind) {
  auto onState = [weak = weak_from_this()](DataChannelListener& changed, DataChannelState state) {
    const auto self = weak.lock();
    if (!self) return;
    self->onQueue([](PeerSession& session, const std::shared_ptr<DataChannelListener>& link,
                     DataChannelState entered) { session.channelEnters(*link, entered); })(
        changed.shared_from_this(), state);
  };
  return DataChannelListener::attach(std::move(channel), kind, environment_.messaging, std::move(onState));
}

void PeerSession::adopt(const std::shared_ptr<DataChannelListener>& newest) {
  auto& current = link(newest->kind());
  if (current) current->detach();
  current = newest;
  publish(newest->kind(), newest->channel());
  channelEnters(*newest, newest->channel()->state());
}

void PeerSession::reject(const std::shared_ptr<DataChannel>& channel) {
  delegate_.channelWasRejected(channel->label());
  channel->close();
}

void PeerSession::channelEnters(DataChannelListener& changed, DataChannelState state) {
  const auto kind = changed.kind();
  if (link(kind).get() != &changed || !changed.enters(state)) return;
  if (state == DataChannelState::open) {
    delegate_.channelDidOpen(kind);
    admit(changed);
  } else if (state == DataChannelState::closed) {
    delegate_.channelDidClose(kind);
  }
}

void PeerSession::admit(DataChannelListener& opened) {
  if (opened.kind() != DataChannelKind::motion) opened.admit();
  if (opened.kind() == DataChannelKind::control) controlHasOpened_ = true;
  const auto motion = link(DataChannelKind::motion);
  if (motion && controlHasOpened_) motion->admit();
}

void PeerSession::publish(DataChannelKind kind, std::shared_ptr<DataChannel> channel) {
  auto& messaging = *environment_.messaging;
  switch (kind) {
    case DataChannelKind::control:
      return messaging.setControlChannel(std::move(channel));
    case DataChannelKind::motion:
      return messaging.setMotionChannel(std::move(channel));
    case DataChannelKind::screen:
      return messaging.setScreenChannel(std::move(channel));
    case DataChannelKind::unknown:
      return;
  }
}

}  // namespace tevanto
