#pragma once

#include <memory>
#include <string>

#include "p2p/signaling/CloudSignaling.h"
#include "p2p/signaling/RelaySignaling.h"
#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// SignalingPaths holds the two ways by which peers negotiate, relay and cloud, and the state of each.
/// Lives on the state queue. The callbacks of both come on other queues; their user posts them.
class SignalingPaths {
 public:
  SignalingPaths(std::shared_ptr<RelaySignaling> relay, std::shared_ptr<CloudSignaling> cloud,
                 std::string room, TransportRole role);

  /// Their callbacks are set before the start.
  RelaySignaling& relay() { return *relay_; }
  CloudSignaling& cloud() { return *cloud_; }

  void connectRelay() { relay_->connect(room_, signalRole(role_)); }
  /// Only the first call starts it.
  void startCloud();
  void stopCloud() { cloud_->stop(); }
  void concludeCloud() { cloud_->conclude(); }
  void close();

  void send(const SignalMessage& message) { relay_->send(message); }
  void write(const SignalMessage& snapshot) { cloud_->write(snapshot.type, snapshot); }

  void relayClosed() { relayClosed_ = true; }
  void cloudUnavailable() { cloudUnavailable_ = true; }
  bool isRelayClosed() const { return relayClosed_; }
  bool isCloudStarted() const { return cloudStarted_; }
  bool mayUseCloud() const { return cloudStarted_ && !cloudUnavailable_; }

 private:
  const std::shared_ptr<RelaySignaling> relay_;
  const std::shared_ptr<CloudSignaling> cloud_;
  const std::string room_;
  const TransportRole role_;
  bool relayClosed_ = false;
  bool cloudStarted_ = false;
  bool cloudUnavailable_ = false;
};

}  // namespace tevanto
