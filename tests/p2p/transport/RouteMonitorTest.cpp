// When the route is asked for, and what becomes of the answers.

#include "p2p/transport/RouteMonitor.h"

#include "p2p/channels/DataChannelMessaging.h"
#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

/// A monitor in virtual time. Its queries wait in `asked` until the test answers them.
class RouteMonitorTest : public ::testing::Test {
 protected:
  void iceConnects() {
    onQueue([this] { monitor->iceDidConnect(); });
  }
  void screenDataArrives() {
    monitor->screenDataDidArrive();
    queue->runPending();
  }
  void answer(const RouteReport& report) {
    ASSERT_FALSE(asked.empty());
    const auto done = std::exchange(asked.front(), nullptr);
    asked.erase(asked.begin());
    onQueue([&] { done(report); });
  }
  void onQueue(const std::function<void()>& work) { queue->sync(work); }
  std::size_t takeQueries() { return std::exchange(queries, 0); }
  std::vector<std::string> takeChanges() { return std::exchange(changes, {}); }
  /// One whole screen message of so many bytes comes through the screen channel.
  void receives(std::size_t bytes) {
    messaging->setScreenChannel(channel);
    forEachPacket(pattern(bytes), ++packetID, [this](std::span<const std::byte> packet) {
      messaging->received(*channel, packet);
      return true;
    });
  }

  std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>("state");
  std::shared_ptr<FakeDataChannel> channel = std::make_shared<FakeDataChannel>("tevanto-screen");
  std::shared_ptr<RecordingLogSink> sink = std::make_shared<RecordingLogSink>();
  std::shared_ptr<DataChannelMessaging> messaging = std::make_shared<DataChannelMessaging>(
      DataChannelMessaging::Environment{queue, "offerer", Logger(sink, "webrtc")},
      std::weak_ptr<DataChannelMessaging::Delegate>());
  bool hasSession = true;
  std::size_t queries = 0;
  std::uint32_t packetID = 0;
  std::vector<PeerSession::StatisticsHandler> asked;
  std::vector<std::string> changes;
  std::shared_ptr<RouteMonitor> monitor = std::make_shared<RouteMonitor>(RouteMonitor::Environment{
      .queue = queue,
      .query =
          [this](PeerSession::StatisticsHandler done) {
            ++queries;
            if (hasSession) asked.push_back(std::move(done));
            return hasSession;
          },
      .messaging = messaging,
      .onChange =
          [this](bool isRelayed, std::optional<std::uint64_t> bytes) {
            changes.push_back((isRelayed ? "relayed " : "direct ") + std::to_string(bytes.value_or(0)));
          },
      .log = TransportLog(Logger(sink, "webrtc"), TransportRole::offerer)});
};

TEST_F(RouteMonitorTest, asksWhenIceHasConnectedAndOnceMoreASecondLater) {
  EXPECT_EQ(takeQueries(), 0u);
  iceConnects();
  EXPECT_EQ(takeQueries(), 1u);
  queue->advance(999ms);
  EXPECT_EQ(takeQueries(), 0u);
  queue->advance(1ms);
  EXPECT_EQ(takeQueries(), 1u);
  queue->advance(1min);
  EXPECT_EQ(takeQueries(), 0u);
}

TEST_F(RouteMonitorTest, asksForScreenDataAtMostEveryFiveSeconds) {
  struct Step {
    std::chrono::milliseconds pause;
    std::size_t queries;
  };
  for (const auto& [pause, expected] :
       {Step{0ms, 1}, Step{0ms, 0}, Step{4999ms, 0}, Step{1ms, 1}, Step{5s, 1}, Step{1h, 1}, Step{1s, 0}}) {
    queue->advance(pause);
    screenDataArrives();
    EXPECT_EQ(takeQueries(), expected) << pause.count();
  }
  iceConnects();
  queue->advance(1s);
  EXPECT_EQ(takeQueries(), 2u);
  queue->advance(4s);
  screenDataArrives();
  EXPECT_EQ(takeQueries(), 0u) << "the query after the connection counts as well";
}

TEST_F(RouteMonitorTest, asksOnceForDataThatSeveralThreadsFoundDue) {
  monitor->screenDataDidArrive();
  monitor->screenDataDidArrive();
  queue->runPending();
  EXPECT_EQ(takeQueries(), 1u);
}

TEST_F(RouteMonitorTest, aQueryWithoutASessionDoesNotCount) {
  hasSession = false;
  screenDataArrives();
  EXPECT_EQ(takeQueries(), 1u);
  hasSession = true;
  screenDataArrives();
  EXPECT_EQ(takeQueries(), 1u);
}

TEST_F(RouteMonitorTest, reportsChangesFromAndToARelayAlone) {
  struct Step {
    RouteReport report;
    std::optional<bool> isRelayed;
    std::vector<std::string> changes;
  };
  const std::vector<Step> steps{
      {{}, std::nullopt, {}},
      {routeVia("host", "srflx"), false, {}},
      {routeVia("relay", "srflx"), true, {"relayed 0"}},
      {routeVia("host", "relay"), true, {}},
      {{}, true, {}},
      {routeVia("prflx", "host"), false, {"direct 0"}},
  };
  for (const auto& step : steps) {
    queue->advance(5s);
    screenDataArrives();
    answer(step.report);
    EXPECT_EQ(monitor->isRelayed(), step.isRelayed);
    EXPECT_EQ(takeChanges(), step.changes);
  }
  ASSERT_EQ(sink->lines().size(), 2u);
  EXPECT_EQ(sink->lines()[0].text, "webrtc: [offerer] selected route: TURN relay");
  EXPECT_EQ(sink->lines()[1].text, "webrtc: [offerer] selected route: direct");
}

TEST_F(RouteMonitorTest, settlesTheAccountOfTheRelayWhenItIsLeft) {
  receives(1000);
  iceConnects();
  answer(routeVia("relay", "host"));
  EXPECT_THAT(takeChanges(), ElementsAre("relayed 0")) << "what came before was not relayed";
  receives(200);
  receives(34);
  queue->advance(1s);
  answer(routeVia("host", "host"));
  EXPECT_THAT(takeChanges(), ElementsAre("direct 234"));
}

TEST_F(RouteMonitorTest, forgetsTheRouteOfASessionThatIsGoneAndAsksTheNextOne) {
  iceConnects();
  answer(routeVia("relay", "host"));
  takeQueries();
  onQueue([this] { monitor->forget(); });
  EXPECT_EQ(monitor->isRelayed(), std::nullopt);
  EXPECT_THAT(takeChanges(), ElementsAre("relayed 0", "direct 0"));
  queue->advance(1s);
  EXPECT_EQ(takeQueries(), 1u);
  onQueue([this] { monitor->forget(); });
  EXPECT_THAT(takeChanges(), IsEmpty()) << "an unknown route is no news";
}

TEST_F(RouteMonitorTest, asksNoMoreOnceItHasBeenStopped) {
  iceConnects();
  answer(routeVia("relay", "host"));
  takeQueries();
  onQueue([this] { monitor->stop(); });
  EXPECT_EQ(monitor->isRelayed(), std::nullopt);
  EXPECT_THAT(takeChanges(), ElementsAre("relayed 0", "direct 0"));
  queue->advance(1min);
  EXPECT_EQ(takeQueries(), 0u);
}

TEST_F(RouteMonitorTest, answersThatComeAfterItsEndReachNobody) {
  iceConnects();
  const auto late = asked.front();
  monitor.reset();
  onQueue([&] { late(routeVia("relay", "host")); });
  EXPECT_THAT(changes, IsEmpty());
}

}  // namespace
}  // namespace tevanto
