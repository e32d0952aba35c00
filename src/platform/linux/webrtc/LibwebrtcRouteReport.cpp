#include "platform/linux/webrtc/LibwebrtcRouteReport.h"

#include <api/stats/rtcstats_objects.h>

#include <string>

namespace tevanto {
namespace {

std::string textOf(const webrtc::RTCStatsMember<std::string>& member) {
  return member.is_defined() ? *member : std::string();
}

RouteReport::CandidatePair pairOf(const webrtc::RTCIceCandidatePairStats& pair) {
  RouteReport::CandidatePair made;
  made.id = pair.id();
  made.localCandidateId = textOf(pair.local_candidate_id);
  made.remoteCandidateId = textOf(pair.remote_candidate_id);
  made.nominated = pair.nominated.is_defined() && *pair.nominated;
  made.state = textOf(pair.state);
  return made;
}

template <class T>
void addCandidates(const webrtc::RTCStatsReport& statistics, RouteReport& report) {
  for (const auto* candidate : statistics.GetStatsOfType<T>())
    report.candidates.push_back({candidate->id(), textOf(candidate->candidate_type)});
}

}  // namespace

RouteReport routeReportOf(const webrtc::RTCStatsReport& statistics) {
  RouteReport report;
  for (const auto* transport : statistics.GetStatsOfType<webrtc::RTCTransportStats>())
    if (transport->selected_candidate_pair_id.is_defined())
      report.selectedCandidatePairId = *transport->selected_candidate_pair_id;
  for (const auto* pair : statistics.GetStatsOfType<webrtc::RTCIceCandidatePairStats>())
    report.pairs.push_back(pairOf(*pair));
  addCandidates<webrtc::RTCLocalIceCandidateStats>(statistics, report);
  addCandidates<webrtc::RTCRemoteIceCandidateStats>(statistics, report);
  return report;
}

}  // namespace tevanto
