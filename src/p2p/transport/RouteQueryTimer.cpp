#include "p2p/transport/RouteQueryTimer.h"

#include <algorithm>

namespace tevanto {
namespace {

using Pair = RouteReport::CandidatePair;

const Pair* selectedPair(const RouteReport& report) {
  const auto& pairs = report.pairs;
  if (report.selectedCandidatePairId) {
    const auto named = std::find_if(pairs.begin(), pairs.end(), [&](const Pair& pair) {
      return pair.id == *report.selectedCandidatePairId;
    });
    if (named != pairs.end()) return &*named;
  }
  const auto marked = std::find_if(pairs.begin(), pairs.end(), [](const Pair& pair) {
    return pair.selected.value_or(false) || (pair.nominated && pair.state == "succeeded");
  });
  return marked == pairs.end() ? nullptr : &*marked;
}

}  // namespace

std::optional<bool> routeUsesTURN(const RouteReport& report) {
  const auto* pair = selectedPair(report);
  if (!pair) return std::nullopt;
  return std::any_of(report.candidates.begin(), report.candidates.end(), [&](const auto& candidate) {
    return (candidate.id == pair->localCandidateId || candidate.id == pair->remoteCandidateId) &&
           candidate.candidateType == "relay";
  });
}

}  // namespace tevanto
