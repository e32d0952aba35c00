#include "p2p/signaling/SignalingPaths.h"

#include <utility>

namespace tevanto {

SignalingPaths::SignalingPaths(std::shared_ptr<RelaySignaling> relay, std::shared_ptr<CloudSignaling> cloud,
                               std::string room, TransportRole role)
    : relay_(std::move(relay)), cloud_(std::move(cloud)), room_(std::move(room)), role_(role) {}

void SignalingPaths::startCloud() {
  if (!std::exchange(cloudStarted_, true)) cloud_->start(room_, signalRole(role_));
}

void SignalingPaths::close() {
  relay_->close();
  cloud_->stop();
}

}  // namespace tevanto
