// The transport's decisions that need no queue and no peer.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "p2p/peer/DataChannelKind.h"
#include "p2p/signaling/SignalMessage.h"
#include "p2p/transport/ChannelStateFilter.h"
#include "p2p/transport/RouteQueryTimer.h"
#include "p2p/transport/TransportLog.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using Event = ChannelStateFilter::Event;

TEST(DataChannelKind, isToldByTheWholeLabel) {
  EXPECT_EQ(dataChannelKind("tevanto"), DataChannelKind::control);
  EXPECT_EQ(dataChannelKind("tevanto-motion"), DataChannelKind::motion);
  EXPECT_EQ(dataChannelKind("tevanto-screen"), DataChannelKind::screen);
  for (const auto* label : {"", "tevanto-", "tevanto-motion2", "Tevanto", " tevanto"})
    EXPECT_EQ(dataChannelKind(label), DataChannelKind::unknown) << label;
}

TEST(TransportRole, speaksForTheSideThatItIsOn) {
  EXPECT_EQ(signalRole(TransportRole::offerer), SignalRole::phone);
  EXPECT_EQ(signalRole(TransportRole::answerer), SignalRole::mac);
  EXPECT_EQ(toString(TransportRole::offerer), "offerer");
  EXPECT_EQ(toString(TransportRole::answerer), "answerer");
  EXPECT_EQ(static_cast<int>(TransportRole::answerer), 1);
}

TEST(CandidateSummary, countsEachLineUnderTheFirstTypeOfTheOrderThatItHolds) {
  EXPECT_EQ(candidateSummary({}), "host=0, srflx=0, relay=0, other=0");
  const auto line = [](std::string text) { return SignalIceCandidate{.candidate = std::move(text)}; };
  EXPECT_EQ(
      candidateSummary({line("candidate:1 1 udp 1 10.0.0.1 9 typ host generation 0"),
                        line("candidate:1 1 udp 1 10.0.0.1 9 typ host tcptype active"),
                        line("a typ srflx raddr 0.0.0.0"), line("a typ relay raddr typ host x"),
                        line("a typ host x typ srflx x"), line("a typ prflx x"), line("ends with typ host")}),
      "host=2, srflx=2, relay=1, other=2");
}

TEST(ChannelStateFilter, saysEachStateOnce) {
  ChannelStateFilter reports;
  const auto told = [&](Event event, bool everReady) {
    const auto report = reports.on(event, everReady);
    return report ? std::optional(report->state) : std::nullopt;
  };
  EXPECT_EQ(told(Event::interrupted, true), std::nullopt);
  EXPECT_EQ(told(Event::recovered, true), std::nullopt);
  EXPECT_EQ(told(Event::ready, true), ChannelState::ready);
  EXPECT_EQ(told(Event::ready, true), std::nullopt);
  EXPECT_EQ(told(Event::recovered, true), std::nullopt);
  EXPECT_EQ(told(Event::interrupted, false), std::nullopt);
  EXPECT_EQ(told(Event::interrupted, true), ChannelState::interrupted);
  EXPECT_EQ(told(Event::interrupted, true), std::nullopt);
  EXPECT_EQ(told(Event::recovered, false), std::nullopt);
  EXPECT_EQ(told(Event::recovered, true), ChannelState::ready);
  EXPECT_EQ(told(Event::interrupted, true), ChannelState::interrupted);
  EXPECT_EQ(told(Event::ready, true), ChannelState::ready);
  EXPECT_EQ(told(Event::failed, false), ChannelState::failed);
  EXPECT_EQ(told(Event::failed, true), std::nullopt);
  EXPECT_EQ(told(Event::interrupted, true), std::nullopt);
  EXPECT_EQ(told(Event::recovered, true), std::nullopt);
  EXPECT_EQ(told(Event::ready, true), ChannelState::ready);
  reports.reset();
  EXPECT_EQ(told(Event::ready, true), ChannelState::ready);
}

RouteReport reportOf(std::vector<RouteReport::CandidatePair> pairs,
                     std::optional<std::string> selected = {}) {
  return {std::move(selected), std::move(pairs), {{"H", "host"}, {"S", "srflx"}, {"T", "relay"}}};
}

TEST(RouteQueryTimer, findsTheSelectedPair) {
  const RouteReport::CandidatePair direct{.id = "direct", .localCandidateId = "H", .remoteCandidateId = "S"};
  const RouteReport::CandidatePair relayed{
      .id = "relayed", .localCandidateId = "H", .remoteCandidateId = "T"};
  EXPECT_EQ(routeUsesTURN(reportOf({})), std::nullopt);
  EXPECT_EQ(routeUsesTURN(reportOf({direct, relayed})), std::nullopt);
  EXPECT_EQ(routeUsesTURN(reportOf({direct, relayed}, "direct")), false);
  EXPECT_EQ(routeUsesTURN(reportOf({direct, relayed}, "relayed")), true);

  auto marked = relayed;
  marked.selected = true;
  EXPECT_EQ(routeUsesTURN(reportOf({direct, marked})), true);
  EXPECT_EQ(routeUsesTURN(reportOf({direct, marked}, "gone")), true);
  EXPECT_EQ(routeUsesTURN(reportOf({direct, marked}, "direct")), false);
  marked.selected = false;
  EXPECT_EQ(routeUsesTURN(reportOf({direct, marked})), std::nullopt);

  auto nominated = direct;
  nominated.nominated = true;
  nominated.state = "in-progress";
  EXPECT_EQ(routeUsesTURN(reportOf({nominated, relayed})), std::nullopt);
  nominated.state = "succeeded";
  EXPECT_EQ(routeUsesTURN(reportOf({relayed, nominated})), false);
  nominated.localCandidateId = "T";
  EXPECT_EQ(routeUsesTURN(reportOf({nominated})), true);
  nominated.localCandidateId = "unknown";
  EXPECT_EQ(routeUsesTURN(reportOf({nominated})), false);
}

TEST(RouteQueryTimer, isDueAtFirstAndThenAfterFiveSeconds) {
  RouteQueryTimer watch;
  SerialQueue::TimePoint now{1s};
  EXPECT_TRUE(watch.isDue(now));
  watch.queried(now);
  EXPECT_FALSE(watch.isDue(now));
  EXPECT_FALSE(watch.isDue(now + 4999ms));
  EXPECT_TRUE(watch.isDue(now + 5s));
}

}  // namespace
}  // namespace tevanto
