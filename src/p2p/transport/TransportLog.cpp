#include "p2p/transport/TransportLog.h"

#include <string_view>

namespace tevanto {

std::string candidateSummary(const std::vector<SignalIceCandidate>& candidates) {
  int host = 0;
  int srflx = 0;
  int relay = 0;
  int other = 0;
  for (const auto& [line, mid, lineIndex] : candidates) {
    const auto contains = [&text = line](std::string_view part) {
      return text.find(part) != std::string::npos;
    };
    auto& count = contains(" typ relay ")   ? relay
                  : contains(" typ srflx ") ? srflx
                  : contains(" typ host ")  ? host
                                            : other;
    ++count;
  }
  return "host=" + std::to_string(host) + ", srflx=" + std::to_string(srflx) +
         ", relay=" + std::to_string(relay) + ", other=" + std::to_string(other);
}

}  // namespace tevanto
