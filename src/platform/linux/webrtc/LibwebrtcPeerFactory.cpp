#include "platform/linux/webrtc/LibwebrtcPeerFactory.h"

#include <utility>

#include "platform/linux/webrtc/LibwebrtcEngine.h"
#include "platform/linux/webrtc/LibwebrtcPeer.h"

namespace tevanto {

LibwebrtcPeerFactory::LibwebrtcPeerFactory(PeerEngineOptions options) : options_(std::move(options)) {}

LibwebrtcPeerFactory::~LibwebrtcPeerFactory() = default;

std::shared_ptr<LibwebrtcEngine> LibwebrtcPeerFactory::engine() {
  const std::lock_guard lock(mutex_);
  if (!engine_) engine_ = LibwebrtcEngine::start(options_);
  return engine_;
}

std::shared_ptr<PeerConnection> LibwebrtcPeerFactory::create(const PeerConfiguration& configuration,
                                                             std::weak_ptr<PeerConnectionObserver> observer) {
  const auto started = engine();
  return started ? LibwebrtcPeer::create(started, configuration, std::move(observer)) : nullptr;
}

}  // namespace tevanto
