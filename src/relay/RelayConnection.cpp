#include "relay/RelayConnection.h"

#include <utility>

namespace tevanto::relay {

RelayConnection::RelayConnection(std::shared_ptr<RelayContext> context, const IpAddress& peer)
    : context_(std::move(context)), peer_(peer), outgoing_(context_->options.limits.maxUnsentBytes) {
  context_->connections.insert(this);
  ++context_->metrics.connections;
}

RelayConnection::~RelayConnection() {
  // Already ended, unless the loop is torn down with the connection in it.
  if (phase_ == Phase::ended) return;
  context_->hub.leave(*this);
  context_->connections.erase(this);
}

bool RelayConnection::admit() {
  // What a proxy passes on is counted once its request says for whom.
  if (!context_->proxies.contains(peer_)) countClient(peer_);
  if (place_ || refused_ || context_->proxies.contains(peer_)) return true;
  closeNow(SocketEnd::reset);
  return false;
}

void RelayConnection::countClient(const IpAddress& client) {
  const auto key = client.clientKey();
  place_ = context_->addresses.enter(key);
  if (place_) return;
  ++context_->metrics.refusedConnections;
  refused_ = context_->refusals.enter(key);
}

void RelayConnection::begin() {
  enterPhase(Phase::request, context_->options.limits.requestTimeout);
  readRequest();
}

void RelayConnection::enterPhase(Phase phase, std::chrono::milliseconds deadline) {
  phase_ = phase;
  context_->wheel.schedule(*this, context_->now() + deadline);
}

void RelayConnection::handleRequest(const RelayRequest& request) {
  if (phase_ != Phase::request) return;
  if (!place_ && !refused_) countClient(context_->proxies.clientOf(peer_, request.forwardedFor));
  auto target = parseRelayTarget(request.target);
  if (!target) return handleBadRequest();
  if (request.isUpgrade && target->path == "/connect") {
    target_ = std::make_unique<RelayTarget>(std::move(*target));
    enterPhase(Phase::upgrading, context_->options.limits.closeTimeout);
    return acceptUpgrade();
  }
  if (!place_) return answer(HttpAnswer::tooManyConnections());
  answer(answerTo(request, target->path, context_->options.turn, context_->metrics, context_->wallClock()));
}

void RelayConnection::handleBadRequest() {
  if (phase_ != Phase::request) return;
  ++context_->metrics.failedRequests;
  answer(HttpAnswer::badRequest());
}

void RelayConnection::answer(HttpAnswer answer) {
  enterPhase(Phase::answering, context_->options.limits.closeTimeout);
  writeAnswer(std::move(answer));
}

std::optional<CloseReason> RelayConnection::refusal(const RelayTarget& target) const {
  if (!place_) return CloseReason::tooManyConnections;
  if (!target.validRole()) return CloseReason::badRole;
  if (!target.validRoom()) return CloseReason::badRoom;
  return std::nullopt;
}

void RelayConnection::upgraded(bool succeeded) {
  if (phase_ != Phase::upgrading) return;
  if (!succeeded) {
    ++context_->metrics.failedRequests;
    return closeNow(SocketEnd::orderly);
  }
  const auto target = std::move(target_);
  phase_ = Phase::member;
  // A browser sees no status of a refused upgrade, only a close code: what is wrong with the target is said
  // in one.
  if (const auto reason = refusal(*target)) return close(*reason);
  context_->hub.join(*this, *target->validRoom(), *target->validRole(), context_->now());
  readMessage();
}

void RelayConnection::handleMessage(RelayMessage message) {
  if (phase_ != Phase::member) return;
  context_->hub.forward(*this, std::move(message), context_->now());
  if (phase_ == Phase::member) readMessage();
}

void RelayConnection::handleControlFrame() {
  if (phase_ == Phase::member) context_->hub.controlFrame(*this, context_->now());
}

void RelayConnection::handleCloseFrame() {
  if (phase_ != Phase::member) return;
  context_->hub.leave(*this);
  enterPhase(Phase::leaving, context_->options.limits.closeTimeout);
}

void RelayConnection::deliver(RelayMessage message) {
  if (phase_ != Phase::member) return;
  if (!outgoing_.push(std::move(message))) {
    ++context_->metrics.slowReaders;
    // It does not read: neither would it read a close frame, nor may the system keep what it was sent.
    return closeNow(SocketEnd::reset);
  }
  if (outgoing_.count() == 1) writeMessage(outgoing_.front());
}

void RelayConnection::messageWritten(bool succeeded) {
  outgoing_.pop();
  if (phase_ != Phase::member) return;
  if (!succeeded) return closeNow(SocketEnd::orderly);
  if (!outgoing_.isEmpty()) writeMessage(outgoing_.front());
}

void RelayConnection::ping() { writePing(); }

void RelayConnection::close(CloseReason reason) {
  if (phase_ != Phase::member) return;
  enterPhase(Phase::closing, context_->options.limits.closeTimeout);
  writeClose(closeCodeOf(reason));
}

void RelayConnection::readFailed() {
  // A connection that is being closed ends when its close frame has been answered or its time is over.
  if (phase_ == Phase::closing) return;
  if (phase_ == Phase::request) ++context_->metrics.failedRequests;
  closeNow(SocketEnd::orderly);
}

void RelayConnection::goAway() {
  switch (phase_) {
    case Phase::member:
      context_->hub.leave(*this);
      return close(CloseReason::goingAway);
    case Phase::request:
    case Phase::upgrading:
      return closeNow(SocketEnd::orderly);
    case Phase::answering:
    case Phase::closing:
    case Phase::leaving:
    case Phase::ended:
      return;
  }
}

void RelayConnection::due(TimerWheel::TimePoint now) {
  if (phase_ == Phase::member) return context_->hub.pingDue(*this, now);
  if (phase_ == Phase::request) ++context_->metrics.failedRequests;
  closeNow(SocketEnd::orderly);
}

void RelayConnection::closeNow(SocketEnd end) {
  if (std::exchange(phase_, Phase::ended) == Phase::ended) return;
  TimerWheel::cancel(*this);
  context_->hub.leave(*this);
  context_->connections.erase(this);
  --context_->metrics.connections;
  place_.release();
  refused_.release();
  closeSocket(end);
  if (context_->onConnectionEnded) context_->onConnectionEnded();
}

}  // namespace tevanto::relay
