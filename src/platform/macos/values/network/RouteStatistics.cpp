#include "platform/macos/values/network/RouteStatistics.h"

namespace tevanto {
namespace {

RouteReport::CandidatePair pairOf(const StatisticsEntry& entry) {
  RouteReport::CandidatePair pair;
  pair.id = entry.id;
  pair.localCandidateId = entry.text("localCandidateId").value_or("");
  pair.remoteCandidateId = entry.text("remoteCandidateId").value_or("");
  pair.selected = entry.flag("selected");
  pair.nominated = entry.flag("nominated").value_or(false);
  pair.state = entry.text("state").value_or("");
  return pair;
}

}  // namespace

void add(RouteReport& report, const StatisticsEntry& entry) {
  if (entry.type == "transport") {
    if (auto selected = entry.text("selectedCandidatePairId")) report.selectedCandidatePairId = selected;
  } else if (entry.type == "candidate-pair") {
    report.pairs.push_back(pairOf(entry));
  } else if (entry.type == "local-candidate" || entry.type == "remote-candidate") {
    report.candidates.push_back({entry.id, entry.text("candidateType").value_or("")});
  }
}

}  // namespace tevanto
