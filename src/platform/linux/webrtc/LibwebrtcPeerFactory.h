#pragma once

#include <memory>
#include <mutex>

#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/PeerEngineOptions.h"

namespace tevanto {

class LibwebrtcEngine;

/// Peer connections by libwebrtc, for data channels only: no audio or video device is opened. The engine's
/// threads start with the first peer and stay until this and all of its peers and channels are gone; one
/// factory serves a whole process.
///
/// All calls to the engine are made on its signaling thread, which is that of a loop of the program where
/// one was given. A call of ours passes them on and does not wait, besides `create` and `createDataChannel`,
/// whose results are needed at once: on that thread they overtake what was passed on before. A message that
/// is sent there is handed over at once as well. Callbacks come on the same thread, so that a callback may
/// call everything here, `close` included, and may release its peer.
class LibwebrtcPeerFactory final : public PeerConnectionFactory {
 public:
  explicit LibwebrtcPeerFactory(PeerEngineOptions options);
  ~LibwebrtcPeerFactory() override;

  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override;

 private:
  std::shared_ptr<LibwebrtcEngine> engine();

  const PeerEngineOptions options_;
  std::mutex mutex_;
  std::shared_ptr<LibwebrtcEngine> engine_;
};

}  // namespace tevanto
