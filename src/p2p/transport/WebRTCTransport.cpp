#include "p2p/transport/WebRTCTransport.h"

#include <utility>

namespace tevanto {
namespace {

/// Calls a copy, so that a callback may be replaced, or release its transport, while it runs.
template <class Callback, class... Arguments>
void call(const Callback& callback, Arguments&&... arguments) {
  if (const auto copy = callback) copy(std::forward<Arguments>(arguments)...);
}

/// To a base that is nobody else's business.
template <class Base, class Derived>
std::weak_ptr<Base> weakBase(const std::shared_ptr<Derived>& derived, Base& base) {
  return std::shared_ptr<Base>(derived, &base);
}

}  // namespace

std::shared_ptr<WebRTCTransport> WebRTCTransport::create(const Environment& environment, TransportRole role,
                                                         const std::string& room, Profile profile) {
  std::shared_ptr<WebRTCTransport> transport(new WebRTCTransport());
  transport->stateQueue_ = environment.stateQueue;
  transport->messaging_ = std::make_shared<DataChannelMessaging>(
      DataChannelMessaging::Environment{environment.mainQueue, std::string(toString(role)), environment.log},
      weakBase<DataChannelMessaging::Delegate>(transport, *transport));
  transport->connector_ =
      std::make_shared<PeerConnector>(environment, role, room, profile, transport->messaging_,
                                      weakBase<PeerConnector::Owner>(transport, *transport));
  return transport;
}

WebRTCTransport::~WebRTCTransport() {
  // Whatever thread this is, an engine's too: peers are released on the state queue.
  if (connector_) stateQueue_->async([connector = std::move(connector_)] { connector->stop(); });
}

void WebRTCTransport::start(std::vector<RemoteIceServerConfig> iceServers) {
  if (cancelled_) return;
  stateQueue_->async([connector = connector_, servers = std::move(iceServers)]() mutable {
    connector->start(std::move(servers));
  });
}

void WebRTCTransport::upgradeIceServers(std::vector<RemoteIceServerConfig> servers) {
  if (cancelled_) return;
  stateQueue_->async([connector = connector_, servers = std::move(servers)]() mutable {
    connector->upgradeIceServers(std::move(servers));
  });
}

void WebRTCTransport::stop() {
  if (cancelled_.exchange(true)) return;
  stateQueue_->async([connector = connector_] { connector->stop(); });
}

void WebRTCTransport::didReceiveMessage(RemoteMessage message) {
  if (!cancelled_) call(onMessage, std::move(message));
}

void WebRTCTransport::didReceiveScreenData(std::span<const std::byte> message) {
  if (!cancelled_) call(onScreenData, message);
}

void WebRTCTransport::didReceiveRelayScreenBytes(std::uint64_t bytes) {
  call(onRelayScreenBytesReceived, bytes);
}

void WebRTCTransport::handshakeDidStart() { call(onHandshakeStarted); }

void WebRTCTransport::channelStateDidChange(ChannelState state) { call(onChannelState, state); }

void WebRTCTransport::screenChannelDidChange(bool isOpen) { call(onScreenChannelState, isOpen); }

void WebRTCTransport::routeDidChange(bool isRelayed, std::optional<std::uint64_t> relayedBytes) {
  call(onRelayRouteChanged, isRelayed);
  if (relayedBytes) call(onRelayScreenBytesReceived, *relayedBytes);
}

}  // namespace tevanto
