#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "core/Result.h"
#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/PeerEngineOptions.h"

namespace tevanto {

/// LoadedPeers makes peer connections with the engine of a module. It loads the module with the first of
/// them: the engine is large, and most runs stay on the local network. Thread-safe.
class LoadedPeers final : public PeerConnectionFactory {
 public:
  explicit LoadedPeers(PeerEngineOptions options) : options_(std::move(options)) {}
  ~LoadedPeers() override;

  /// Null as well, and logged, when the module cannot be loaded.
  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override;

  /// Loads the module now; a failure says why it cannot.
  Result<void> load();
  /// Releases the engine, for a program that ends. When all peers are closed, their last messages to the
  /// other side are on their way when this returns.
  void release();

 private:
  Result<PeerConnectionFactory*> loaded();

  const PeerEngineOptions options_;
  std::mutex mutex_;
  std::unique_ptr<PeerConnectionFactory> peers_;
};

}  // namespace tevanto
