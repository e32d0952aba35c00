#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "p2p/channels/DataChannelMessaging.h"
#include "p2p/transport/PeerConnector.h"
#include "remote/message/MessageChannel.h"
#include "screen/ScreenTransport.h"

namespace tevanto {

/// WebRTCTransport carries the session with a phone that is not on the local network, over data channels
/// between two peers. Used once: start, then stop. After it has reported `failed`, its owner stops it and may
/// make another.
///
/// The callbacks are set on the main queue, before `start`, and come on the main queue. Everything else is
/// thread-safe; it may be destroyed at any moment, on any thread.
class WebRTCTransport final : public MessageChannel,
                              public ScreenTransport,
                              private DataChannelMessaging::Delegate,
                              private PeerConnector::Owner {
 public:
  using Environment = PeerConnector::Environment;
  using Profile = PeerConnector::Profile;

  /// `room` is the name under which both sides meet. `profile` matters to an offerer only.
  static std::shared_ptr<WebRTCTransport> create(const Environment& environment, TransportRole role,
                                                 const std::string& room, Profile profile = Profile::plain);
  ~WebRTCTransport() override;

  /// The route that ICE selected has changed; true through a TURN relay.
  std::function<void(bool isRelayed)> onRelayRouteChanged;
  /// So many bytes of screen data came through a relay since the last call.
  std::function<void(std::uint64_t bytes)> onRelayScreenBytesReceived;
  std::function<void()> onHandshakeStarted;

  /// Meets the other side and connects. Only the first call counts.
  void start(std::vector<RemoteIceServerConfig> iceServers);
  /// TURN servers that came after the start. An offerer that has none, and no connection yet, begins again
  /// with them.
  void upgradeIceServers(std::vector<RemoteIceServerConfig> servers);
  /// Ends it. An open screen channel is still reported closed, a relayed route direct and a control channel
  /// `failed`; then nothing more comes.
  void stop();

  void send(const RemoteMessage& message) override { messaging_->send(message); }
  void close() override { stop(); }
  bool sendScreenPayload(std::span<const std::byte> message) override {
    return messaging_->sendScreenPayload(message);
  }
  bool sendScreenFrame(std::span<const std::byte> message, bool isKeyFrame) override {
    return messaging_->sendScreenFrame(message, isKeyFrame);
  }
  bool takesKeyFrame(std::size_t bytes) const override { return messaging_->takesKeyFrame(bytes); }

  bool signalingEverOpened() const { return connector_->signalingEverOpened(); }
  bool cloudSignalingEverOpened() const { return connector_->cloudSignalingEverOpened(); }
  bool hasTURNServer() const { return connector_->hasTURNServer(); }
  /// Nothing while the route is not known.
  std::optional<bool> isRelayed() const { return connector_->isRelayed(); }
  /// True when an answerer has received something of an offerer.
  bool hasBeenOffered() const { return connector_->hasBeenOffered(); }

 private:
  WebRTCTransport() = default;

  // DataChannelMessaging::Delegate
  void didReceiveMessage(RemoteMessage message) override;
  void didReceiveScreenData(std::span<const std::byte> message) override;
  void didReceiveRelayScreenBytes(std::uint64_t bytes) override;
  void screenDataArriving() override { connector_->screenDataDidArrive(); }

  // PeerConnector::Owner
  void handshakeDidStart() override;
  void channelStateDidChange(ChannelState state) override;
  void screenChannelDidChange(bool isOpen) override;
  void routeDidChange(bool isRelayed, std::optional<std::uint64_t> relayedBytes) override;

  std::shared_ptr<SerialQueue> stateQueue_;
  std::shared_ptr<DataChannelMessaging> messaging_;
  std::shared_ptr<PeerConnector> connector_;
  std::atomic<bool> cancelled_ = false;
};

}  // namespace tevanto
