#pragma once

#include <functional>
#include <optional>
#include <string>

#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// StatisticsEntry is one entry of the engine's statistics. A member that is missing or of another type reads
/// as empty.
struct StatisticsEntry {
  std::string id;
  std::string type;  // "transport", "candidate-pair", ...
  std::function<std::optional<std::string>(const char* member)> text;
  std::function<std::optional<bool>(const char* member)> flag;
};

/// Adds the entry's statistics of ICE, if it has any (identifiers of the W3C's WebRTC statistics).
void add(RouteReport& report, const StatisticsEntry& entry);

}  // namespace tevanto
