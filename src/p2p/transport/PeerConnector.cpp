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
constexpr auto kRouteRecheckDelay = 1s;  // ICE may still move on to a better pair

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
      roads_(environment_.relay, environment_.cloud, room, role) {
  if (role == TransportRole::offerer) {
    auto offer = std::make_unique<OfferNegotiation>(static_cast<Negotiation::Host&>(*this));
    offer_ = offer.get();
    negotiation_ = std::move(offer);
  } else {
    negotiation_ = std::make_unique<AnswerNegotiation>(static_cast<Negotiation::Host&>(*this));
  }
  snapshot_.emplace(environment_.stateQueue, *negotiation_, roads_);
}

PeerConnector::~PeerConnector() = default;

template <class Work>
void PeerConnector::tellOwner(Work work) {
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

// ---- Life

void PeerConnector::start(std::vector<RemoteIceServerConfig> iceServers) {
  assertOnQueue();
  if (stopped_ || std::exchange(started_, true)) return;
  useIceServers(std::move(iceServers));
  tellOwner([](Owner& owner) { owner.handshakeDidStart(); });
  if (!buildSession()) return;
  listenToPaths();
  roads_.connectRelay();
  if (!begin()) return;
  if (role_ == TransportRole::answerer) return roads_.startCloud();
  cloudStart_ = after(kCloudStartDelay, &PeerConnector::startCloudUnlessConnected);
}

void PeerConnector::useIceServers(std::vector<RemoteIceServerConfig> servers) {
  iceServers_ = std::move(servers);
  hasTURNServer_ = tevanto::hasTURNServer(iceServers_);
  if (environment_.rememberIceServers) environment_.rememberIceServers(iceServers_);
}

bool PeerConnector::buildSession() {
  say("ice servers: " + std::to_string(iceServers_.size()) + ", turn=" + yesNo(hasTURNServer_) +
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
  negotiation_->begin();
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

bool PeerConnector::rebuildSession() {
  say("new offer — rebuilding peer for a fresh session");
  if (session_->hasChannel(DataChannelKind::screen)) reportScreenChannel(false);
  closeSession();
  channelEverReady_ = false;
  grace_.cancel();  // that was the old peer's outage
  forgetRoute();
  reports_.reset();
  return buildSession();
}

void PeerConnector::upgradeIceServers(std::vector<RemoteIceServerConfig> servers) {
  assertOnQueue();
  if (role_ != TransportRole::offerer || !started_ || stopped_ || channelEverReady_) return;
  if (hasTURNServer_ || !tevanto::hasTURNServer(servers)) return;
  say("late TURN arrived — upgrading current ICE attempt");
  useIceServers(std::move(servers));
  closeSession();
  grace_.cancel();
  if (buildSession()) begin();
}

void PeerConnector::stop() {
  if (std::exchange(stopped_, true)) return;
  forgetRoute();
  const bool hadScreen = session_ && session_->hasChannel(DataChannelKind::screen);
  const bool hadControl = session_ && session_->hasChannel(DataChannelKind::control);
  if (hadScreen) reportScreenChannel(false);
  if (started_) roads_.close();
  closeSession();
  for (auto* timer : {&cloudStart_, &cloudStop_, &grace_, &routeRecheck_}) timer->cancel();
  snapshot_->cancel();
  if (hadControl) fail();  // it has just been closed
}

// ---- Signaling

void PeerConnector::listenToPaths() {
  const auto hop = [this](auto work) { return weakPost(unlessStopped(work)); };
  auto& relay = roads_.relay();
  relay.onOpen = hop(&PeerConnector::relayDidOpen);
  relay.onClose = hop(&PeerConnector::relayDidClose);
  relay.onMessage =
      hop([](PeerConnector& self, const SignalMessage& message) { self.signalCame(message, false); });
  auto& cloud = roads_.cloud();
  cloud.onOpen = hop(&PeerConnector::cloudDidOpen);
  cloud.onUnavailable = hop(&PeerConnector::cloudIsUnavailable);
  cloud.onSignal =
      hop([](PeerConnector& self, const SignalMessage& message) { self.signalCame(message, true); });
}

void PeerConnector::startCloudUnlessConnected() {
  if (!offer_->receivedAnswer() && !channelEverReady_) roads_.startCloud();
}

void PeerConnector::relayDidOpen() {
  signalingEverOpened_ = true;
  say("signaling open, announcing");
  send({.type = "hello"});
  if (session_) negotiation_->replay("signaling open");
}

void PeerConnector::relayDidClose() {
  roads_.relayClosed();
  if (channelEverReady_) return say("signaling dropped after connect — session unaffected");
  if (profile_ == Profile::phone && role_ == TransportRole::offerer) startCloudUnlessConnected();
  if (roads_.mayUseCloud()) return say("relay unreachable — riding CloudKit only");
  fail();
}

void PeerConnector::cloudDidOpen() {
  cloudEverOpened_ = true;
  if (role_ == TransportRole::answerer) roads_.cloud().publishTURN(iceServers_);
  scheduleSnapshot("cloud path up");
}

void PeerConnector::cloudIsUnavailable() {
  roads_.cloudUnavailable();
  if (roads_.isRelayClosed() && !channelEverReady_) fail();
}

void PeerConnector::signalCame(const SignalMessage& message, bool viaCloud) {
  assertOnQueue();
  say("signal in: " + message.type + (viaCloud ? " (cloud)" : ""));
  if (session_) dispatchSignal(message, viaCloud);
}

void PeerConnector::dispatchSignal(const SignalMessage& message, bool viaCloud) {
  if (message.type == "hello") return negotiation_->replay("peer joined");
  if (message.type == "offer") return offered(message, viaCloud);
  if (message.type == "answer") return negotiation_->answered(message, viaCloud);
  if (message.type == "ice") return negotiation_->candidateCame(message);
  if (message.type == "bye") otherSideLeft();
}

void PeerConnector::offered(const SignalMessage& offer, bool viaCloud) {
  hasBeenOffered_ = true;
  negotiation_->offered(offer, viaCloud);
  // The record of a phone that the relay has brought here already.
  if (viaCloud && channelEverReady_) roads_.concludeCloud();
}

void PeerConnector::otherSideLeft() {
  if (channelEverReady_) return say("bye after connect — session unaffected");
  say("peer left before connect");
  fail();
}

void PeerConnector::localCandidateWasGathered(const IceCandidate& candidate) {
  send(signalOf(candidate));
  scheduleSnapshot("ice candidate");
}

// ---- Channels

void PeerConnector::channelDidOpen(DataChannelKind kind) {
  if (kind == DataChannelKind::control) controlChannelIsOpen();
  if (kind == DataChannelKind::screen) reportScreenChannel(true);
}

void PeerConnector::channelDidClose(DataChannelKind kind) {
  if (kind == DataChannelKind::control) fail();
  if (kind == DataChannelKind::screen) reportScreenChannel(false);
}

void PeerConnector::channelWasRejected(const std::string& label) {
  say("rejecting unknown data channel " + label);
}

void PeerConnector::controlChannelIsOpen() {
  channelEverReady_ = true;
  report(ChannelStateFilter::Event::ready);
  if (role_ == TransportRole::answerer) {
    if (negotiation_->wantsSnapshot()) roads_.concludeCloud();
    return;
  }
  cloudStop_ = after(kCloudStopDelay, [](PeerConnector& self) { self.roads_.stopCloud(); });
}

// ---- ICE and the route

void PeerConnector::iceConnectionStateDidChange(IceConnectionState state) {
  say("ice: " + std::string(toString(state)));
  if (isConnected(state)) return iceIsConnected();
  if (state == IceConnectionState::disconnected) return iceIsDisconnected();
  if (state == IceConnectionState::failed) fail();
}

void PeerConnector::iceIsConnected() {
  grace_.cancel();
  report(ChannelStateFilter::Event::recovered);
  queryRoute();
  routeRecheck_ = after(kRouteRecheckDelay, &PeerConnector::queryRoute);
}

void PeerConnector::iceIsDisconnected() {
  report(ChannelStateFilter::Event::interrupted);
  grace_ = after(kDisconnectGrace, &PeerConnector::checkGrace);
}

void PeerConnector::checkGrace() {
  if (session_ && isConnected(session_->iceConnectionState())) return say("ice recovered from disconnect");
  say("ice still down after grace — failing");
  fail();
}

void PeerConnector::checkRoute() {
  if (!routeWatch_.isDue(queue()->now())) return;
  post([](PeerConnector& self) {
    // Others may have found it due at the same time.
    if (self.routeWatch_.isDue(self.queue()->now())) self.queryRoute();
  });
}

void PeerConnector::queryRoute() {
  if (!session_) return;
  routeWatch_.queried(queue()->now());
  session_->statistics([this](const RouteReport& report) {
    const auto isRelayed = routeUsesTURN(report);
    if (!isRelayed) return;
    route_ = *isRelayed ? Route::relayed : Route::direct;
    routeSelected(*isRelayed);
  });
}

std::optional<bool> PeerConnector::isRelayed() const {
  const auto route = route_.load();
  if (route == Route::unknown) return std::nullopt;
  return route == Route::relayed;
}

void PeerConnector::forgetRoute() {
  route_ = Route::unknown;
  routeSelected(false);
}

void PeerConnector::routeSelected(bool isRelayed) {
  const auto change = messaging_->routeSelected(isRelayed);
  if (!change.changed) return;
  say(std::string("selected route: ") + (isRelayed ? "TURN relay" : "direct"));
  tellOwner([isRelayed, bytes = change.bytes](Owner& owner) { owner.routeDidChange(isRelayed, bytes); });
}

// ---- Reports

void PeerConnector::report(ChannelStateFilter::Event event) {
  assertOnQueue();
  const auto report = reports_.on(event, channelEverReady_);
  if (!report) return;
  say(std::string(report->logLine));
  tellOwner([state = report->state](Owner& owner) { owner.channelStateDidChange(state); });
}

void PeerConnector::reportScreenChannel(bool isOpen) {
  tellOwner([isOpen](Owner& owner) { owner.screenChannelDidChange(isOpen); });
}

void PeerConnector::say(const std::string& line) {
  environment_.log.info("[" + std::string(toString(role_)) + "] " + line);
}

}  // namespace tevanto
