#pragma once

#include <memory>

#include "core/queue/SerialQueue.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// LKRTCPeerConnections makes peer connections by the WebRTC framework, for data channels only. The engine
/// starts with the first peer and runs until this and all of its peers are gone.
///
/// Observers and completions are called on the queue that is given here, one at a time, never on a thread of
/// the engine. A callback may call everything here, `close` included, and may destroy its peer.
class LKRTCPeerConnections final : public PeerConnectionFactory {
 public:
  struct Options {
    /// Also offers the addresses of the loopback interface: for peers on one computer.
    bool includeLoopback = false;
  };

  LKRTCPeerConnections(std::shared_ptr<SerialQueue> callbackQueue, Options options);
  ~LKRTCPeerConnections() override;

  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override;

 private:
  struct Core;
  const std::shared_ptr<SerialQueue> callbackQueue_;
  const std::unique_ptr<Core> core_;
};

}  // namespace tevanto
