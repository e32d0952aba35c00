#include "relay/RelayHub.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "tests/relay/RecordingMember.h"

namespace tevanto::relay {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;
const TimerWheel::TimePoint kStart{1h};

class RelayHubTest : public testing::Test {
 protected:
  RelayHubTest() {
    for (auto* member : {&mac, &phone, &other}) {
      member->onDue = [this, member](TimerWheel::TimePoint at) { hub.pingDue(*member, at); };
    }
  }

  void pass(TimerWheel::Duration time) {
    for (const auto end = now + time; now < end;) {
      now += 100ms;
      wheel.advance(now);
    }
  }
  void joinBoth() {
    hub.join(mac, "a", RoomRole::mac, now);
    hub.join(phone, "a", RoomRole::phone, now);
  }

  TimerWheel::TimePoint now = kStart;
  RelayLimits limits;
  RelayMetrics metrics;
  TimerWheel wheel{100ms, kStart};
  RelayHub hub{limits, wheel, metrics};
  test::RecordingMember mac;
  test::RecordingMember phone;
  test::RecordingMember other;
};

TEST_F(RelayHubTest, passesMessagesOnAsTheyAreAndInOrder) {
  joinBoth();
  hub.forward(mac, {"{\"type\": \"hello\"}", true}, now);
  hub.forward(mac, {std::string("\0\xFF", 2), false}, now);
  hub.forward(phone, {"back", true}, now);
  EXPECT_THAT(phone.delivered, ElementsAre("{\"type\": \"hello\"}", std::string("\0\xFF", 2)));
  EXPECT_THAT(phone.deliveredAsText, ElementsAre(true, false));
  EXPECT_THAT(mac.delivered, ElementsAre("back"));
  EXPECT_EQ(metrics.forwardedMessages, 3u);
  EXPECT_EQ(metrics.forwardedBytes, 17u + 2u + 4u);
}

TEST_F(RelayHubTest, dropsAMessageToNobody) {
  hub.join(mac, "a", RoomRole::mac, now);
  hub.join(other, "b", RoomRole::phone, now);
  hub.forward(mac, {"lost", true}, now);
  hub.join(phone, "a", RoomRole::phone, now);
  EXPECT_THAT(phone.delivered, IsEmpty());
  EXPECT_THAT(other.delivered, IsEmpty());
  EXPECT_EQ(metrics.messagesToNobody, 1u);
  EXPECT_EQ(metrics.forwardedMessages, 0u);
}

TEST_F(RelayHubTest, letsTheNewestMemberReplaceTheOlderOne) {
  joinBoth();
  hub.join(other, "a", RoomRole::mac, now);
  EXPECT_THAT(mac.closed, ElementsAre(CloseReason::replaced));
  EXPECT_THAT(other.closed, IsEmpty());
  hub.forward(phone, {"to the newest", true}, now);
  EXPECT_THAT(mac.delivered, IsEmpty());
  EXPECT_THAT(other.delivered, ElementsAre("to the newest"));
  EXPECT_EQ(metrics.macMembers, 1u);
  EXPECT_EQ(metrics.replacedMembers, 1u);
}

TEST_F(RelayHubTest, aReplacedMemberNeitherSendsNorTakesThePlaceWithIt) {
  joinBoth();
  hub.join(other, "a", RoomRole::mac, now);
  hub.forward(mac, {"stale", true}, now);
  hub.leave(mac);
  hub.forward(phone, {"hello", true}, now);
  EXPECT_THAT(phone.delivered, IsEmpty());
  EXPECT_THAT(other.delivered, ElementsAre("hello"));
  EXPECT_EQ(metrics.macMembers, 1u);
}

TEST_F(RelayHubTest, closesAMemberThatSendsTooMuch) {
  joinBoth();
  for (int i = 0; i < 200; ++i) hub.forward(mac, {"m", true}, now);
  EXPECT_THAT(mac.closed, IsEmpty());
  hub.forward(mac, {"one too many", true}, now);
  EXPECT_THAT(mac.closed, ElementsAre(CloseReason::tooManyMessages));
  EXPECT_EQ(phone.delivered.size(), 200u);
  EXPECT_EQ(metrics.rateLimitedMembers, 1u);
  EXPECT_EQ(metrics.macMembers, 0u);
  hub.forward(mac, {"after the end", true}, now);
  EXPECT_EQ(mac.closed.size(), 1u);
}

TEST_F(RelayHubTest, allowsTheRateForAsLongAsItTakes) {
  joinBoth();
  for (int i = 0; i < 60 * 50; ++i) {
    now += 20ms;
    hub.forward(mac, {"m", true}, now);
  }
  EXPECT_THAT(mac.closed, IsEmpty());
  EXPECT_EQ(phone.delivered.size(), 60u * 50u);
}

TEST_F(RelayHubTest, countsControlFramesAsMessages) {
  joinBoth();
  for (int i = 0; i < 200; ++i) EXPECT_TRUE(hub.controlFrame(mac, now));
  EXPECT_FALSE(hub.controlFrame(mac, now));
  EXPECT_THAT(mac.closed, ElementsAre(CloseReason::tooManyMessages));
  EXPECT_THAT(phone.delivered, IsEmpty());
}

TEST_F(RelayHubTest, pingsEvery25Seconds) {
  hub.join(mac, "a", RoomRole::mac, now);
  pass(24900ms);
  EXPECT_EQ(mac.pings, 0);
  pass(100ms);
  EXPECT_EQ(mac.pings, 1);
  for (int i = 2; i <= 100; ++i) {
    hub.controlFrame(mac, now);
    pass(25s);
    EXPECT_EQ(mac.pings, i);
  }
  EXPECT_THAT(mac.closed, IsEmpty());
}

TEST_F(RelayHubTest, spreadsThePingsOfThoseWhoComeAtOnce) {
  std::vector<std::unique_ptr<test::RecordingMember>> crowd;
  for (int i = 0; i < 1000; ++i) {
    crowd.push_back(std::make_unique<test::RecordingMember>());
    crowd.back()->onDue = [this, member = crowd.back().get()](TimerWheel::TimePoint at) {
      hub.pingDue(*member, at);
    };
    hub.join(*crowd.back(), std::to_string(i), RoomRole::mac, now);
  }
  const auto pings = [&] {
    int sum = 0;
    for (const auto& member : crowd) sum += member->pings;
    return sum;
  };
  pass(12500ms);
  int before = pings();
  EXPECT_LE(before, 1);
  int most = 0;
  for (int tick = 0; tick < 125; ++tick) {
    pass(100ms);
    most = std::max(most, pings() - before);
    before = pings();
  }
  EXPECT_EQ(before, 1000);  // each has had its first
  EXPECT_LE(most, 12);      // 8 on average
}

TEST_F(RelayHubTest, endsASilentMemberAfterTwoPings) {
  joinBoth();
  pass(74900ms);
  EXPECT_EQ(mac.pings, 2);
  EXPECT_THAT(mac.closed, IsEmpty());
  pass(100ms);
  EXPECT_THAT(mac.closed, ElementsAre(CloseReason::silent));
  EXPECT_EQ(mac.pings, 2);
  EXPECT_EQ(metrics.silentMembers, 2u);
  EXPECT_EQ(metrics.rooms, 0u);
}

TEST_F(RelayHubTest, takesAMessageForASignOfLife) {
  joinBoth();
  pass(60s);
  hub.forward(mac, {"here", true}, now);
  pass(30s);
  EXPECT_THAT(mac.closed, IsEmpty());
  EXPECT_THAT(phone.closed, ElementsAre(CloseReason::silent));
  pass(40s);
  EXPECT_THAT(mac.closed, ElementsAre(CloseReason::silent));
}

TEST_F(RelayHubTest, countsWhoIsThere) {
  joinBoth();
  hub.join(other, "b", RoomRole::phone, now);
  EXPECT_EQ(metrics.macMembers, 1u);
  EXPECT_EQ(metrics.phoneMembers, 2u);
  EXPECT_EQ(metrics.rooms, 2u);
  EXPECT_EQ(metrics.joins, 3u);
  for (auto* member : {&mac, &phone, &other, &mac}) hub.leave(*member);
  EXPECT_EQ(metrics.macMembers, 0u);
  EXPECT_EQ(metrics.phoneMembers, 0u);
  EXPECT_EQ(metrics.rooms, 0u);
}

}  // namespace
}  // namespace tevanto::relay
