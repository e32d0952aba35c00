#pragma once

#include <api/stats/rtc_stats_report.h>

#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// The part of the engine's statistics about ICE. It has no "selected" of its own on a pair; the "transport"
/// report names the selected one.
RouteReport routeReportOf(const webrtc::RTCStatsReport& statistics);

}  // namespace tevanto
