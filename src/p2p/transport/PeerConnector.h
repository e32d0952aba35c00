#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Log.h"
#include "core/queue/QueueBound.h"
#include "core/queue/SerialQueue.h"
#include "p2p/signaling/SignalMessage.h"
#include "p2p/signaling/SignalingPaths.h"
#include "p2p/transport/ChannelStateFilter.h"
#include "p2p/transport/CloudRecordUpdater.h"
#include "p2p/transport/Negotiation.h"
#include "p2p/transport/PeerSession.h"
#include "p2p/transport/RouteMonitor.h"
#include "p2p/transport/TransportLog.h"

namespace tevanto {

class OfferNegotiation;

/// PeerConnector connects two peers and keeps them connected. It meets the other side at the relay and in the
/// cloud, lets the role negotiate, and bridges short outages. RouteMonitor watches the route.
///
///     signals ──> Negotiation ──> PeerSession ──> engine
///                                     │
///     owner <── reports ── ICE, channels, candidates
///
/// Lives on the state queue. The owner is called on the main queue.
class PeerConnector final : public QueueBound<PeerConnector>,
                            private PeerSession::Delegate,
                            private Negotiation::Host {
 public:
  /// Called on the main queue; held weakly.
  class Owner {
   public:
    virtual ~Owner() = default;
    virtual void handshakeDidStart() = 0;
    virtual void channelStateDidChange(ChannelState state) = 0;
    virtual void screenChannelDidChange(bool isOpen) = 0;
    /// With the screen bytes that a relay route that has ended had carried and not yet reported.
    virtual void routeDidChange(bool isRelayed, std::optional<std::uint64_t> relayedBytes) = 0;
  };
  struct Environment {
    std::shared_ptr<SerialQueue> stateQueue;
    std::shared_ptr<SerialQueue> mainQueue;
    std::shared_ptr<PeerConnectionFactory> peers;
    std::shared_ptr<RelaySignaling> relay;
    std::shared_ptr<CloudSignaling> cloud;
    /// Stores the servers in the persistent cache. On the state queue.
    std::function<void(const std::vector<RemoteIceServerConfig>&)> rememberIceServers;
    Logger log = {};
  };
  /// Profile is the kind of an offerer. `plain` makes the control channel alone; `phone` makes those for
  /// motion and the screen too. A `phone` turns to the cloud without delay when the relay is gone before the
  /// cloud's turn.
  enum class Profile { plain, phone };

  PeerConnector(Environment environment, TransportRole role, const std::string& room, Profile profile,
                std::shared_ptr<DataChannelMessaging> messaging, std::weak_ptr<Owner> owner);
  ~PeerConnector() override;

  // On the state queue.
  void start(std::vector<RemoteIceServerConfig> iceServers);
  void upgradeIceServers(std::vector<RemoteIceServerConfig> servers);
  /// Ends everything; what the owner still hears of it is on its way to the main queue afterwards.
  void stop();

  // From any thread.
  bool signalingEverOpened() const { return signalingEverOpened_; }
  bool cloudSignalingEverOpened() const { return cloudEverOpened_; }
  bool hasTURNServer() const { return hasTURNServer_; }
  /// True when the route that ICE has selected leads through a TURN relay; nothing while that is not known.
  std::optional<bool> isRelayed() const { return route_->isRelayed(); }
  bool hasBeenOffered() const { return hasBeenOffered_; }
  void screenDataDidArrive() { route_->screenDataDidArrive(); }

 private:
  // PeerSession::Delegate
  void iceConnectionStateDidChange(IceConnectionState state) override;
  void iceGatheringDidComplete() override { scheduleSnapshot("ice gathering complete"); }
  void localCandidateWasGathered(const IceCandidate& candidate) override;
  void channelDidOpen(DataChannelKind kind) override;
  void channelDidClose(DataChannelKind kind) override;
  void channelWasRejected(const std::string& label) override;

  // Negotiation::Host
  PeerSession* rebuildSession() override;
  void scheduleSnapshot(std::string_view reason) override;

  void makeNegotiation();
  std::shared_ptr<RouteMonitor> makeRouteMonitor();
  std::optional<SignalMessage> snapshot() const;

  void listenToPaths();
  void relayDidOpen();
  void relayDidClose();
  void cloudDidOpen();
  void cloudIsUnavailable();
  void startCloudUnlessConnected();
  void handleSignal(const SignalMessage& message, bool viaCloud);
  void dispatchSignal(const SignalMessage& message, bool viaCloud);
  void offered(const SignalMessage& offer, bool viaCloud);
  void otherSideLeft();

  bool buildSession();
  bool createChannels();
  bool begin();
  void closeSession();
  void useIceServers(std::vector<RemoteIceServerConfig> servers);

  void controlChannelIsOpen();
  void iceIsConnected();
  void iceIsDisconnected();
  void checkGrace();

  void fail() { report(ChannelStateFilter::Event::failed); }
  void report(ChannelStateFilter::Event event);
  void reportScreenChannel(bool isOpen);
  template <class Work>
  void notifyOwner(Work work);
  /// `work`, which does nothing once the connector has been stopped.
  template <class Work>
  static auto unlessStopped(Work work);
  template <class Work>
  Timer after(SerialQueue::Duration delay, Work work);

  const Environment environment_;
  const TransportRole role_;
  const Profile profile_;
  const std::shared_ptr<DataChannelMessaging> messaging_;
  const std::weak_ptr<Owner> owner_;

  const TransportLog log_;

  SignalingPaths paths_;
  std::unique_ptr<Negotiation> negotiation_;
  OfferNegotiation* offer_ = nullptr;  // `negotiation_` of an offerer
  CloudRecordUpdater cloudRecord_;
  std::shared_ptr<PeerSession> session_;
  std::vector<RemoteIceServerConfig> iceServers_;
  ChannelStateFilter reports_;
  const std::shared_ptr<RouteMonitor> route_;
  bool started_ = false;
  bool stopped_ = false;
  bool channelEverReady_ = false;  // of the current session
  std::atomic<bool> signalingEverOpened_ = false;
  std::atomic<bool> cloudEverOpened_ = false;
  std::atomic<bool> hasTURNServer_ = false;
  std::atomic<bool> hasBeenOffered_ = false;

  Timer cloudStart_;
  Timer cloudStop_;
  Timer grace_;  // set while ICE is disconnected
};

}  // namespace tevanto
