#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "p2p/ice/RemoteIceServerConfig.h"
#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// CloudSignaling exchanges signals through records of a database that both sides poll, the slow way to
/// negotiate when no relay can be reached. Thread-safe.
/// The callbacks are set before `start`. They come on the main queue, never inside a call and never after
/// `stop` has returned on the main queue.
class CloudSignaling {
 public:
  virtual ~CloudSignaling() = default;

  std::function<void(SignalMessage)> onSignal;
  std::function<void()> onOpen;
  /// There is no account: no signal will come through the cloud.
  std::function<void()> onUnavailable;

  /// Begins to look for the other side's record: the "mac" role for an offer, the "phone" role for an answer.
  virtual void start(const std::string& room, SignalRole role) = 0;
  virtual void stop() = 0;
  /// The record that was followed has led to a connection: no later client follows it again.
  virtual void conclude() = 0;
  /// Replaces the record of `kind`, "offer" or "answer".
  virtual void write(const std::string& kind, const SignalMessage& message) = 0;
  virtual void publishTURN(const std::vector<RemoteIceServerConfig>& servers) = 0;
  /// Comes once, with nothing when none were lent.
  virtual void loadTURN(std::function<void(std::optional<BrokeredIceServers>)> done) = 0;
};

}  // namespace tevanto
