#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/queue/QueueBound.h"
#include "core/queue/SerialQueue.h"
#include "p2p/peer/DataChannelKind.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

class DataChannelListener;
class DataChannelMessaging;

/// PeerSession is one peer connection with its channels and candidates, from its creation to its close. It
/// posts the events of the engine's threads to the state queue. Events that are still queued when it closes
/// are dropped. A fresh start is a new session. Lives on the state queue.
class PeerSession final : public PeerConnectionObserver, public QueueBound<PeerSession> {
 public:
  /// The owner. Called on the state queue, until the close.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    virtual void iceConnectionStateDidChange(IceConnectionState state) = 0;
    virtual void iceGatheringDidComplete() = 0;
    virtual void localCandidateWasGathered(const IceCandidate& candidate) = 0;
    virtual void channelDidOpen(DataChannelKind kind) = 0;
    virtual void channelDidClose(DataChannelKind kind) = 0;
    virtual void channelWasRejected(const std::string& label) = 0;
  };
  struct Environment {
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<DataChannelMessaging> messaging;
  };
  using DescriptionHandler = std::function<void(Result<SessionDescription>)>;
  using DoneHandler = std::function<void(Result<void>)>;
  using StatisticsHandler = std::function<void(RouteReport)>;

  /// More candidates than any peer has. They come before anything is known of their sender.
  static constexpr std::size_t kMaxPendingCandidates = 1024;

  /// Null when the engine refuses. `delegate` closes the session before it goes.
  static std::shared_ptr<PeerSession> make(PeerConnectionFactory& factory,
                                           const PeerConfiguration& configuration, Environment environment,
                                           Delegate& delegate);
  PeerSession(Environment environment, Delegate& delegate);
  ~PeerSession() override;

  /// Makes a channel, unless there is one of its label already. False when the engine refuses.
  bool createChannel(std::string_view label, const DataChannelOptions& options);
  bool hasChannel(DataChannelKind kind) const;

  /// Creates an offer or an answer and sets it as the local description. No completion comes after `close`.
  void describe(SdpType type, DescriptionHandler done);
  /// Sets the other side's description; then adds the candidates that came before it.
  void setRemoteDescription(const SessionDescription& description, DoneHandler done);
  bool hasRemoteDescription() const { return hasRemoteDescription_; }
  /// Adds a candidate of the other side, as soon as its description is there.
  void addRemoteCandidate(IceCandidate candidate);
  /// All that were gathered.
  const std::vector<IceCandidate>& localCandidates() const { return localCandidates_; }

  IceConnectionState iceConnectionState() const { return peer_->iceConnectionState(); }
  void statistics(StatisticsHandler done);

  /// Releases the channels and the peer.
  void close();

 private:
  void peerDidChangeIceConnectionState(IceConnectionState state) override;
  void peerDidChangeIceGatheringState(IceGatheringState state) override;
  void peerDidGenerateCandidate(const IceCandidate& candidate) override;
  void peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) override;

  std::shared_ptr<DataChannelListener> attach(std::shared_ptr<DataChannel> channel, DataChannelKind kind);
  void adopt(const std::shared_ptr<DataChannelListener>& link);
  void reject(const std::shared_ptr<DataChannel>& channel);
  void channelEnters(DataChannelListener& link, DataChannelState state);
  /// Motion waits for the control channel as well: its answers go there, and nobody knows of the phone
  /// before.
  void admit(DataChannelListener& opened);
  void publish(DataChannelKind kind, std::shared_ptr<DataChannel> channel);
  std::shared_ptr<DataChannelListener>& link(DataChannelKind kind) {
    return links_[static_cast<std::size_t>(kind)];
  }
  void setLocalDescription(const SessionDescription& description, const DescriptionHandler& done);
  void handleRemoteDescriptionSet();
  /// `work`, which does nothing once the session is closed.
  template <class Work>
  static auto unlessClosed(Work work);

  const std::shared_ptr<DataChannelMessaging> messaging_;
  Delegate& delegate_;
  std::shared_ptr<PeerConnection> peer_;
  bool closed_ = false;
  bool hasRemoteDescription_ = false;
  bool controlHasOpened_ = false;
  std::vector<IceCandidate> pendingCandidates_;
  std::vector<IceCandidate> localCandidates_;
  std::array<std::shared_ptr<DataChannelListener>, 3> links_;  // by kind
};

}  // namespace tevanto
