#pragma once

#include <memory>
#include <string>

#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/LibwebrtcEngine.h"
#include "platform/linux/webrtc/LibwebrtcPeerCore.h"

namespace tevanto {

/// A peer connection as the rest of the program holds it. Letting it go closes it.
class LibwebrtcPeer final : public PeerConnection {
 public:
  /// Null when the engine refuses the configuration.
  static std::shared_ptr<LibwebrtcPeer> create(std::shared_ptr<LibwebrtcEngine> engine,
                                               const PeerConfiguration& configuration,
                                               std::weak_ptr<tevanto::PeerConnectionObserver> observer);
  ~LibwebrtcPeer() override;

  void createOffer(DescriptionHandler done) override;
  void createAnswer(DescriptionHandler done) override;
  void setLocalDescription(const SessionDescription& description, DoneHandler done) override;
  void setRemoteDescription(const SessionDescription& description, DoneHandler done) override;
  void addCandidate(const IceCandidate& candidate) override;
  std::shared_ptr<DataChannel> createDataChannel(const std::string& label,
                                                 const DataChannelOptions& options) override;
  IceConnectionState iceConnectionState() const override { return core_->iceConnectionState(); }
  void statistics(StatisticsHandler done) override;
  /// The engine's own part ends soon after, on its thread.
  void close() override;

 private:
  LibwebrtcPeer(std::shared_ptr<LibwebrtcEngine> engine, std::shared_ptr<LibwebrtcPeerCore> core);
  template <class F>
  void withConnection(F&& function);

  const std::shared_ptr<LibwebrtcEngine> engine_;
  const std::shared_ptr<LibwebrtcPeerCore> core_;
};

}  // namespace tevanto
