#include "p2p/transport/PeerSession.h"

#include <algorithm>
#include <utility>

#include "p2p/channels/DataChannelListener.h"
#include "p2p/channels/DataChannelMessaging.h"

namespace tevanto {

template <class Work>
auto PeerSession::unlessClosed(Work work) {
  return [work = std::move(work)](PeerSession& self, auto&&... arguments) {
    if (!self.closed_) work(self, std::forward<decltype(arguments)>(arguments)...);
  };
}

std::shared_ptr<PeerSession> PeerSession::make(PeerConnectionFactory& factory,
                                               const PeerConfiguration& configuration,
                                               Environment environment, Delegate& delegate) {
  auto session = std::make_shared<PeerSession>(std::move(environment), delegate);
  session->peer_ = factory.create(configuration, session);
  return session->peer_ ? session : nullptr;
}

PeerSession::PeerSession(Environment environment, Delegate& delegate)
    : QueueBound(std::move(environment.queue)),
      messaging_(std::move(environment.messaging)),
      delegate_(delegate) {}

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
  auto made = weakPost(
      unlessClosed([done = std::move(done)](PeerSession& self, const Result<SessionDescription>& result) {
        if (!result.ok()) return done(result);
        self.setLocalDescription(result.value(), done);
      }));
  if (type == SdpType::offer) {
    peer_->createOffer(std::move(made));
  } else {
    peer_->createAnswer(std::move(made));
  }
}

void PeerSession::setLocalDescription(const SessionDescription& description, const DescriptionHandler& done) {
  peer_->setLocalDescription(
      description, weakPost(unlessClosed([description, done](PeerSession&, const Result<void>& set) {
        done(set.ok() ? Result(description) : Result<SessionDescription>(Failure{set.error()}));
      })));
}

void PeerSession::setRemoteDescription(const SessionDescription& description, DoneHandler done) {
  peer_->setRemoteDescription(
      description,
      weakPost(unlessClosed([done = std::move(done)](PeerSession& self, const Result<void>& result) {
        if (result.ok()) self.handleRemoteDescriptionSet();
        done(result);
      })));
}

void PeerSession::handleRemoteDescriptionSet() {
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
      weakPost(unlessClosed([done = std::move(done)](PeerSession&, const RouteReport& r) { done(r); })));
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
  post(unlessClosed([state](PeerSession& self) { self.delegate_.iceConnectionStateDidChange(state); }));
}

void PeerSession::peerDidChangeIceGatheringState(IceGatheringState state) {
  if (state != IceGatheringState::complete) return;
  post(unlessClosed([](PeerSession& self) { self.delegate_.iceGatheringDidComplete(); }));
}

void PeerSession::peerDidGenerateCandidate(const IceCandidate& candidate) {
  post(unlessClosed([gathered = candidate](PeerSession& self) {
    self.localCandidates_.push_back(gathered);
    self.delegate_.localCandidateWasGathered(gathered);
  }));
}

void PeerSession::peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) {
  const auto kind = dataChannelKind(channel->label());
  if (kind == DataChannelKind::unknown) {
    return post(unlessClosed([stranger = std::move(channel)](PeerSession& self) { self.reject(stranger); }));
  }
  // Listened to at once, or what follows the opening closely would be missed.
  post(unlessClosed([link = attach(std::move(channel), kind)](PeerSession& self) { self.adopt(link); }));
}

std::shared_ptr<DataChannelListener> PeerSession::attach(std::shared_ptr<DataChannel> channel,
                                                         DataChannelKind kind) {
  auto onState = weakCall([](PeerSession& self, DataChannelListener& changed, DataChannelState state) {
    self.post(unlessClosed([link = changed.shared_from_this(), state](PeerSession& session) {
      session.channelEnters(*link, state);
    }));
  });
  return DataChannelListener::attach(std::move(channel), kind, messaging_, std::move(onState));
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
  switch (kind) {
    case DataChannelKind::control:
      return messaging_->setControlChannel(std::move(channel));
    case DataChannelKind::motion:
      return messaging_->setMotionChannel(std::move(channel));
    case DataChannelKind::screen:
      return messaging_->setScreenChannel(std::move(channel));
    case DataChannelKind::unknown:
      return;
  }
}

}  // namespace tevanto
