#include "p2p/signaling/SignalingRoads.h"

#include <utility>

namespace tevanto {

SignalingRoads::SignalingRoads(std::shared_ptr<RelaySignaling> relay, std::shared_ptr<CloudSignaling> cloud,
                               std::string room, TransportRole role)
    : relay_(std::move(relay)), cloud_(std::move(cloud)), room_(std::move(room)), role_(role) {}

void SignalingRoads::startCloud() {
  if (!std::exchange(cloudStarted_, true)) cloud_->start(room_, signalRole(role_));
}

void SignalingRoads::close() {
  relay_->close();
  cloud_->stop();
}

}  // namespace tevanto
