#pragma once

#include <string>
#include <vector>

#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// How many ICE candidates there are of each type, for the log: "host=2, srflx=1, relay=0, other=0".
std::string candidateSummary(const std::vector<SignalIceCandidate>& candidates);

}  // namespace tevanto
