#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/Log.h"
#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// TransportLog writes the log lines of one transport, each behind its role in brackets. A cheap value.
class TransportLog {
 public:
  TransportLog(Logger log, TransportRole role)
      : log_(std::move(log)), prefix_("[" + std::string(toString(role)) + "] ") {}

  void info(const std::string& line) const { log_.info(prefix_ + line); }

 private:
  Logger log_;
  std::string prefix_;
};

/// The number of ICE candidates of each type, for the log: "host=2, srflx=1, relay=0, other=0".
std::string candidateSummary(const std::vector<SignalIceCandidate>& candidates);

}  // namespace tevanto
