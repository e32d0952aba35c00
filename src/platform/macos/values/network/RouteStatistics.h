#pragma once

#include <functional>
#include <optional>
#include <string>

#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// One entry of the engine's statistics; what it lacks, or has of another type, is nothing.
struct StatisticsEntry {
  std::string id;
  std::string type;  // "transport", "candidate-pair", ...
  std::function<std::optional<std::string>(const char* member)> text;
  std::function<std::optional<bool>(const char* member)> flag;
};

/// Adds what the entry says of ICE, if anything (identifiers of the W3C's WebRTC statistics).
void add(RouteReport& report, const StatisticsEntry& entry);

}  // namespace tevanto
