#include "p2p/transport/PeerConnector.h"

#include <chrono>
#include <functional>
#include <utility>

#include "p2p/channels/DataChannelMessaging.h"
#include "p2p/transport/AnswerNegotiation.h"
#include "p2p/transport/OfferNegotiation.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr auto kCloudStartDelay = 500ms;  // of an offerer: the relay alone may be fast enough
constexpr auto kCloudStopDelay = 2s;      // of an offerer, once it is connected
constexpr auto kDisconnectGrace = 8s;

std::string yesNo(bool value) { return value ? "true" : "false"; }

}  // namespace

PeerConnector::PeerConnector(Environment environment, TransportRole role, const std::string& room,
                             Profile profile, std::shared_ptr<DataChannelMessaging> messaging,
                             std::weak_ptr<Owner> owner)
    : QueueBound(environment.stateQueue),
      environment_(std::move(environment)),
      role_(role),
      profile_(profile),
      messaging_(std::move(messaging)),
      owner_(std::move(owner)),
      log_(environment_.log, role),
      paths_(environment_.relay, environment_.cloud, room, role),
      cloudRecord_(
          queue(), [this] { return snapshot(); }, paths_, log_),
      route_(makeRouteMonitor()) {
  makeNegotiation();
}

PeerConnector::~PeerConnector() = default;

void PeerConnector::makeNegotiation() {
  auto& host = static_cast<Negotiation::Host&>(*this);
  const auto send = [this](const SignalMessage& message) { paths_.send(message); };
  if (role_ == TransportRole::offerer) {
    auto offer = std::make_unique<OfferNegotiation>(host, send, log_);
    offer_ = offer.get();
    negotiation_ = std::move(offer);
  } else {
    negotiation_ = std::make_unique<AnswerNegotiation>(host, send, log_);
  }
}

std::shared_ptr<RouteMonitor> PeerConnector::makeRouteMonitor() {
  return std::make_shared<RouteMonitor>(RouteMonitor::Environment{
      .queue = queue(),
      .query =
          [this](PeerSession::StatisticsHandler done) {
            if (session_) session_->statistics(std::move(done));
            return session_ != nullptr;
          },
      .messaging = messaging_,
      .onChange =
          [this](bool isRelayed, std::optional<std::uint64_t> bytes) {
            notifyOwner([isRelayed, bytes](Owner& owner) { owner.routeDidChange(isRelayed, bytes); });
          },
      .log = log_});
}

template <class Work>
void PeerConnector::notifyOwner(Work work) {
  environment_.mainQueue->async(tevanto::weakCall(owner_, std::move(work)));
}

template <class Work>
auto PeerConnector::unlessStopped(Work work) {
  return [work = std::move(work)](PeerConnector& self, auto&&... arguments) {
    if (!self.stopped_) std::invoke(work, self, std::forward<decltype(arguments)>(arguments)...);
  };
}

template <class Work>
Timer PeerConnector::after(SerialQueue::Duration delay, Work work) {
  return queue()->asyncAfter(delay, weakCall(unlessStopped(std::move(work))));
}

void PeerConnector::start(std::vector<RemoteIceServerConfig> iceServers) {
  assertOnQueue();
  if (stopped_ || std::exchange(started_, true)) return;
  useIceServers(std::move(iceServers));
  notifyOwner([](Owner& owner) { owner.handshakeDidStart(); });
  if (!buildSession()) return;
  listenToPaths();
  paths_.connectRelay();
  if (!begin()) return;
  if (role_ == TransportRole::answerer) return paths_.startCloud();
  cloudStart_ = after(kCloudStartDelay, &PeerConnector::startCloudUnlessConnected);
}

void PeerConnector::useIceServers(std::vector<RemoteIceServerConfig> servers) {
  iceServers_ = std::move(servers);
  hasTURNServer_ = tevanto::hasTURNServer(iceServers_);
  if (environment_.rememberIceServers) environment_.rememberIceServers(iceServers_);
}

bool PeerConnector::buildSession() {
  log_.info("ice servers: " + std::to_string(iceServers_.size()) + ", turn=" + yesNo(hasTURNServer_) +
            ", relayOnly=false");
  session_ =
      PeerSession::make(*environment_.peers, {iceServers_}, {environment_.stateQueue, messaging_}, *this);
  if (!session_) fail();
  return session_ != nullptr;
}

bool PeerConnector::begin() {
  if (!createChannels()) {
    fail();
    return false;
  }
  negotiation_->begin(*session_);
  return true;
}

bool PeerConnector::createChannels() {
  if (role_ != TransportRole::offerer) return true;
  if (!session_->createChannel(kControlChannelLabel, {})) return false;
  // The screen's channel is ordered and reliable as well: each frame builds on the one before it, so that one
  // which is lost, or overtaken and then dropped as late, costs a key frame, many times larger and as easily
  // lost. Delay stays bounded all the same: frames are dropped before they queue.
  return profile_ == Profile::plain || (session_->createChannel(kMotionChannelLabel, {}) &&
                                        session_->createChannel(kScreenChannelLabel, {}));
}

void PeerConnector::closeSession() {
  if (const auto session = std::exchange(session_, nullptr)) session->close();
}

PeerSession* PeerConnector::rebuildSession() {
  log_.info("new offer — rebuilding peer for a fresh session");
  if (session_->hasChannel(DataChannelKind::screen)) reportScreenChannel(false);
  closeSession();
  channelEverReady_ = false;
  grace_.cancel();  // that was the old peer's outage
  route_->forget();
  reports_.reset();
  return buildSession() ? session_.get() : nullptr;
}

void PeerConnector::upgradeIceServers(std::vector<RemoteIceServerConfig> servers) {
  assertOnQueue();
  if (role_ != TransportRole::offerer || !started_ || stopped_ || channelEverReady_) return;
  if (hasTURNServer_ || !tevanto::hasTURNServer(servers)) return;
  log_.info("late TURN arrived — upgrading current ICE attempt");
  useIceServers(std::move(servers));
  closeSession();
  grace_.cancel();
  if (buildSession()) begin();
}

void PeerConnector::stop() {
  if (std::exchange(stopped_, true)) return;
  route_->stop();
  const bool hadScreen = session_ && session_->hasChannel(DataChannelKind::screen);
  const bool hadControl = session_ && session_->hasChannel(DataChannelKind::control);
  if (hadScreen) reportScreenChannel(false);
  if (started_) paths_.close();
  closeSession();
  for (auto* timer : {&cloudStart_, &cloudStop_, &grace_}) timer->cancel();
  cloudRecord_.cancel();
  if (hadControl) fail();  // it has just been closed
}

void PeerConnector::listenToPaths() {
  const auto hop = [this](auto work) { return weakPost(unlessStopped(work)); };
  auto& relay = paths_.relay();
  relay.onOpen = hop(&PeerConnector::relayDidOpen);
  relay.onClose = hop(&PeerConnector::relayDidClose);
  relay.onMessage =
      hop([](PeerConnector& self, const SignalMessage& message) { self.handleSignal(message, false); });
  auto& cloud = paths_.cloud();
  cloud.onOpen = hop(&PeerConnector::cloudDidOpen);
  cloud.onUnavailable = hop(&PeerConnector::cloudIsUnavailable);
  cloud.onSignal =
      hop([](PeerConnector& self, const SignalMessage& message) { self.handleSignal(message, true); });
}

void PeerConnector::startCloudUnlessConnected() {
  if (!offer_->receivedAnswer() && !channelEverReady_) paths_.startCloud();
}

void PeerConnector::relayDidOpen() {
  signalingEverOpened_ = true;
  log_.info("signaling open, announcing");
  paths_.send({.type = "hello"});
  if (session_) negotiation_->replay(*session_, "signaling open");
}

void PeerConnector::relayDidClose() {
  paths_.relayClosed();
  if (channelEverReady_) return log_.info("signaling dropped after connect — session unaffected");
  if (profile_ == Profile::phone && role_ == TransportRole::offerer) startCloudUnlessConnected();
  if (paths_.mayUseCloud()) return log_.info("relay unreachable — riding CloudKit only");
  fail();
}

void PeerConnector::cloudDidOpen() {
  cloudEverOpened_ = true;
  if (role_ == TransportRole::answerer) paths_.cloud().publishTURN(iceServers_);
  scheduleSnapshot("cloud path up");
}

void PeerConnector::cloudIsUnavailable() {
  paths_.cloudUnavailable();
  if (paths_.isRelayClosed() && !channelEverReady_) fail();
}

void PeerConnector::handleSignal(const SignalMessage& message, bool viaCloud) {
  assertOnQueue();
  log_.info("signal in: " + message.type + (viaCloud ? " (cloud)" : ""));
  if (session_) dispatchSignal(message, viaCloud);
}

void PeerConnector::dispatchSignal(const SignalMessage& message, bool viaCloud) {
  if (message.type == "hello") return negotiation_->replay(*session_, "peer joined");
  if (message.type == "offer") return offered(message, viaCloud);
  if (message.type == "answer") return negotiation_->answered(*session_, message, viaCloud);
  if (message.type == "ice") return negotiation_->handleCandidate(*session_, message);
  if (message.type == "bye") otherSideLeft();
}

void PeerConnector::offered(const SignalMessage& offer, bool viaCloud) {
  hasBeenOffered_ = true;
  negotiation_->offered(*session_, offer, viaCloud);
  // The record of a phone that the relay has brought here already.
  if (viaCloud && channelEverReady_) paths_.concludeCloud();
}

void PeerConnector::otherSideLeft() {
  if (channelEverReady_) return log_.info("bye after connect — session unaffected");
  log_.info("peer left before connect");
  fail();
}

void PeerConnector::scheduleSnapshot(std::string_view reason) {
  if (negotiation_->wantsSnapshot()) cloudRecord_.schedule(reason);
}

std::optional<SignalMessage> PeerConnector::snapshot() const {
  return session_ ? negotiation_->snapshot(*session_) : std::nullopt;
}

void PeerConnector::localCandidateWasGathered(const IceCandidate& candidate) {
  paths_.send(signalOf(candidate));
  scheduleSnapshot("ice candidate");
}

void PeerConnector::channelDidOpen(DataChannelKind kind) {
  if (kind == DataChannelKind::control) controlChannelIsOpen();
  if (kind == DataChannelKind::screen) reportScreenChannel(true);
}

void PeerConnector::channelDidClose(DataChannelKind kind) {
  if (kind == DataChannelKind::control) fail();
  if (kind == DataChannelKind::screen) reportScreenChannel(false);
}

void PeerConnector::channelWasRejected(const std::string& label) {
  log_.info("rejecting unknown data channel " + label);
}

void PeerConnector::controlChannelIsOpen() {
  channelEverReady_ = true;
  report(ChannelStateFilter::Event::ready);
  if (role_ == TransportRole::answerer) {
    if (negotiation_->wantsSnapshot()) paths_.concludeCloud();
    return;
  }
  cloudStop_ = after(kCloudStopDelay, [](PeerConnector& self) { self.paths_.stopCloud(); });
}

void PeerConnector::iceConnectionStateDidChange(IceConnectionState state) {
  log_.info("ice: " + std::string(toString(state)));
  if (isConnected(state)) return iceIsConnected();
  if (state == IceConnectionState::disconnected) return iceIsDisconnected();
  if (state == IceConnectionState::failed) fail();
}

void PeerConnector::iceIsConnected() {
  grace_.cancel();
  report(ChannelStateFilter::Event::recovered);
  route_->iceDidConnect();
}

void PeerConnector::iceIsDisconnected() {
  report(ChannelStateFilter::Event::interrupted);
  grace_ = after(kDisconnectGrace, &PeerConnector::checkGrace);
}

void PeerConnector::checkGrace() {
  if (session_ && isConnected(session_->iceConnectionState()))
    return log_.info("ice recovered from disconnect");
  log_.info("ice still down after grace — failing");
  fail();
}

void PeerConnector::report(ChannelStateFilter::Event event) {
  assertOnQueue();
  const auto report = reports_.on(event, channelEverReady_);
  if (!report) return;
  log_.info(std::string(report->logLine));
  notifyOwner([state = report->state](Owner& owner) { owner.channelStateDidChange(state); });
}

void PeerConnector::reportScreenChannel(bool isOpen) {
  notifyOwner([isOpen](Owner& owner) { owner.screenChannelDidChange(isOpen); });
}

}  // namespace tevanto
