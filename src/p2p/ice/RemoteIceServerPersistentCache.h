#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"
#include "core/queue/WallClock.h"
#include "p2p/ice/RemoteIceServerConfig.h"

namespace tevanto {

class UserDefaults;

inline constexpr std::string_view kTurnCredentialsKey = "tevanto.turn-credentials.v1";
/// Beside them: the deployment that they belong to.
inline constexpr std::string_view kTurnCredentialsOriginKey = "tevanto.turn-credentials.origin";
/// How long short-lived credentials are used.
inline constexpr std::chrono::seconds kTurnCredentialsLife{2700};

/// True when they are younger than their life, not from the future, and hold a TURN server.
bool isUsable(const BrokeredIceServers& brokered, std::chrono::system_clock::time_point now);

/// RemoteIceServerPersistentCache keeps TURN credentials across restarts, as one JSON text in the user
/// defaults, stored as data. Thread-safe.
class RemoteIceServerPersistentCache {
 public:
  /// `origin`: which deployment's servers these are; empty when that does not matter.
  RemoteIceServerPersistentCache(UserDefaults& defaults, WallClock now, std::string origin = {});

  /// The stored servers as they are, with their date; nothing unless they are usable, nor when they are known
  /// to be another deployment's.
  std::optional<BrokeredIceServers> load() const;
  /// Stores the servers with the current date.
  Result<void> save(const std::vector<RemoteIceServerConfig>& servers);
  /// The same for servers that are used, unless their TURN servers are those that are stored: credentials do
  /// not become younger by being used, and those that a server refuses by now have to be asked for again.
  Result<void> remember(const std::vector<RemoteIceServerConfig>& servers);

 private:
  UserDefaults& defaults_;
  const WallClock now_;
  const std::string origin_;
};

}  // namespace tevanto
