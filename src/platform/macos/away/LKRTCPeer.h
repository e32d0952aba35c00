#pragma once

#include <memory>

#include "p2p/peer/PeerConnection.h"
#include "platform/macos/away/LKRTCFramework.h"
#include "platform/macos/values/network/PeerCallbacks.h"

namespace tevanto {

/// LKRTCPeer is the handle of a peer connection. Destroying it closes the connection.
class LKRTCPeer final : public PeerConnection {
 public:
  /// Null when the engine refuses the configuration.
  static std::shared_ptr<LKRTCPeer> create(LKRTCPeerConnectionFactory* factory,
                                           LKRTCConfiguration* configuration,
                                           std::shared_ptr<PeerCallbacks> callbacks);
  LKRTCPeer(LKRTCPeerConnection* connection, id delegate, std::shared_ptr<PeerCallbacks> callbacks);
  ~LKRTCPeer() override;

  void createOffer(DescriptionHandler done) override;
  void createAnswer(DescriptionHandler done) override;
  void setLocalDescription(const SessionDescription& description, DoneHandler done) override;
  void setRemoteDescription(const SessionDescription& description, DoneHandler done) override;
  void addCandidate(const IceCandidate& candidate) override;
  std::shared_ptr<DataChannel> createDataChannel(const std::string& label,
                                                 const DataChannelOptions& options) override;
  IceConnectionState iceConnectionState() const override { return callbacks_->iceConnectionState(); }
  void statistics(StatisticsHandler done) override;
  void close() override;

 private:
  LKRTCPeerConnection* const connection_;
  [[maybe_unused]] const id delegate_;  // held: the connection does not hold it
  const std::shared_ptr<PeerCallbacks> callbacks_;
};

}  // namespace tevanto
