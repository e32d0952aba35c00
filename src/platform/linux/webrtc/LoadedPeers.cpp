#include "platform/linux/webrtc/LoadedPeers.h"

#include "platform/linux/process/LoadedModule.h"

namespace tevanto {
namespace {

constexpr ModuleEntry<PeerConnectionFactory*(const PeerEngineOptions&)> kMakePeers{"peers",
                                                                                   "tevantoMakePeers"};

}  // namespace

LoadedPeers::~LoadedPeers() = default;

Result<PeerConnectionFactory*> LoadedPeers::loaded() {
  const std::lock_guard lock(mutex_);
  if (peers_) return peers_.get();
  auto made = makeFromModule(kMakePeers, options_);
  if (!made) return Failure{made.error()};
  peers_ = std::move(made).value();
  return peers_.get();
}

Result<void> LoadedPeers::load() {
  const auto peers = loaded();
  if (!peers) return Failure{peers.error()};
  return {};
}

void LoadedPeers::release() {
  std::unique_ptr<PeerConnectionFactory> last;
  const std::lock_guard lock(mutex_);
  last.swap(peers_);  // which goes after the lock
}

std::shared_ptr<PeerConnection> LoadedPeers::create(const PeerConfiguration& configuration,
                                                    std::weak_ptr<PeerConnectionObserver> observer) {
  const auto peers = loaded();
  if (peers) return peers.value()->create(configuration, std::move(observer));
  options_.log.error(peers.error());
  return nullptr;
}

}  // namespace tevanto
