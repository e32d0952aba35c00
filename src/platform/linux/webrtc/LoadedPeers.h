#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "core/Result.h"
#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/PeerEngineOptions.h"

namespace tevanto {

/// The peer connections of a module that is loaded with the first of them: the engine is large, and most runs
/// stay on the local network.
class LoadedPeers final : public PeerConnectionFactory {
 public:
  explicit LoadedPeers(PeerEngineOptions options) : options_(std::move(options)) {}
  ~LoadedPeers() override;

  /// Null as well, and logged, when the module cannot be loaded.
  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override;

  /// Loads the module now; why it cannot.
  Result<void> load();
  /// For a program that ends: lets go of the engine. When all peers are closed, what they had to tell the
  /// other side is on its way when this returns.
  void release();

 private:
  Result<PeerConnectionFactory*> loaded();

  const PeerEngineOptions options_;
  std::mutex mutex_;
  std::unique_ptr<PeerConnectionFactory> peers_;
};

}  // namespace tevanto
