#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"
#include "core/queue/WallClock.h"
#include "p2p/ice/DeploymentSettings.h"
#include "p2p/ice/RemoteIceServerConfig.h"
#include "p2p/ice/RemoteIceServerPersistentCache.h"
#include "p2p/ice/TurnCredentialService.h"

namespace tevanto {

/// IceServerSource supplies the ICE servers of a peer: TURN servers first, then STUN servers. The TURN
/// servers are those configured here, else fresh ones of the credential service. Thread-safe.
class IceServerSource : public std::enable_shared_from_this<IceServerSource> {
 public:
  using Completion = std::function<void(std::vector<RemoteIceServerConfig>)>;

  IceServerSource(DeploymentSettings settings, RemoteIceServerPersistentCache cache,
                  TurnCredentialService service, WallClock now, Logger log);

  /// The servers that are known without a request.
  std::vector<RemoteIceServerConfig> known();
  /// The same, after asking the credential service when no TURN server is known. `done` is called once, on
  /// `queue`, never inside this call, after 4 seconds for each relay at the latest.
  void load(const std::shared_ptr<SerialQueue>& queue, Completion done);
  /// The time until another request gives fresher servers than are known now; nothing where no service is
  /// asked.
  std::optional<std::chrono::seconds> freshFor();

 private:
  std::optional<std::vector<RemoteIceServerConfig>> knownTURN();
  std::vector<RemoteIceServerConfig> withSTUN(std::vector<RemoteIceServerConfig> servers) const;
  void keep(const std::vector<RemoteIceServerConfig>& fetched);

  const DeploymentSettings settings_;
  RemoteIceServerPersistentCache cache_;
  const TurnCredentialService service_;
  const WallClock now_;
  const Logger log_;
  std::mutex mutex_;
  std::optional<BrokeredIceServers> copy_;  // under mutex_
};

}  // namespace tevanto
