#pragma once

#include <api/peer_connection_interface.h>

#include <atomic>
#include <memory>
#include <utility>

#include "core/queue/CallbackGuard.h"
#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/LibwebrtcEngine.h"

namespace tevanto {

/// The engine's end of a peer: lives on the signaling thread until the peer is closed there.
class LibwebrtcPeerCore final : public webrtc::PeerConnectionObserver {
 public:
  LibwebrtcPeerCore(std::weak_ptr<LibwebrtcEngine> engine,
                    std::weak_ptr<tevanto::PeerConnectionObserver> observer);

  // On the signaling thread.
  bool open(webrtc::PeerConnectionFactoryInterface& factory,
            const webrtc::PeerConnectionInterface::RTCConfiguration& configuration);
  /// Null before `open` and after `close`.
  webrtc::PeerConnectionInterface* connection() const { return connection_.get(); }
  void close();
  /// Calls it unless `silence` was called.
  template <class F>
  void report(F&& function) {
    const CallbackGuard::Call call(gate_);
    if (!silenced_) std::forward<F>(function)();
  }

  // On any thread.
  /// From now on nothing is reported, besides what runs in the caller's own call.
  void silence();
  bool isSilenced() const { return silenced_; }
  IceConnectionState iceConnectionState() const { return iceConnectionState_; }

  void OnSignalingChange(webrtc::PeerConnectionInterface::SignalingState) override {}
  void OnDataChannel(rtc::scoped_refptr<webrtc::DataChannelInterface> channel) override;
  void OnIceConnectionChange(webrtc::PeerConnectionInterface::IceConnectionState state) override;
  void OnIceGatheringChange(webrtc::PeerConnectionInterface::IceGatheringState state) override;
  void OnIceCandidate(const webrtc::IceCandidateInterface* candidate) override;

 private:
  template <class F>
  void notify(F&& function) {
    report([&] {
      if (const auto observer = observer_.lock()) function(*observer);
    });
  }

  const std::weak_ptr<LibwebrtcEngine> engine_;
  const std::weak_ptr<tevanto::PeerConnectionObserver> observer_;
  rtc::scoped_refptr<webrtc::PeerConnectionInterface> connection_;
  CallbackGuard gate_;
  std::atomic<bool> silenced_ = false;
  std::atomic<IceConnectionState> iceConnectionState_ = IceConnectionState::new_;
};

}  // namespace tevanto
