#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/AwayFixture.h"

// The away connection without a relay: the two meet through records in the cloud.
namespace tevanto {
namespace {

using test::AwayWorld;
using ::testing::HasSubstr;
using ::testing::Not;

class AwayCloud : public Away {};

TEST_F(AwayCloud, meetsThroughRecordsWhenTheRelayIsDown) {
  deploy({{"TEVANTO_RELAY_URLS", AwayWorld::kRelayURL}});
  startCloud();
  world->setRoute(true);
  startCompanion();
  const auto x = desktop.pointer().first;
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_THAT(said.output, HasSubstr("signal in: answer (cloud)"));
  EXPECT_THAT(cloud.stored("tevanto-" + room + "-offer"), Not(""));
}

TEST_F(AwayCloud, goesThroughTURNWithKeptCredentialsWhenTheRelayIsGone) {
  startServers();
  startCloud();
  startCompanion();
  world->killRelay();
  const auto x = desktop.pointer().first;
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_THAT(said.output, HasSubstr("relay unreachable"));
  EXPECT_THAT(said.output, HasSubstr("signal in: answer (cloud)"));
  EXPECT_THAT(said.output, HasSubstr("selected route: TURN relay"));
}

TEST_F(AwayCloud, meetsAgainWhenASessionIsOver) {
  startCloud();
  world->setRoute(true);
  startCompanion();
  // The companion looks for a phone again, and leaves the offer of the one that has paired with it alone.
  ASSERT_TRUE(saysSoon(companion->process(), "polling as mac"));
  ASSERT_TRUE(saysSoon(companion->process(), "polling as mac"));
  ASSERT_TRUE(saysSoon(companion->process(), "ignored stale signaling record for another session"));
  const auto x = desktop.pointer().first;
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_TRUE(pointerIsAt(x + 30));
}

TEST_F(AwayCloud, meetsAgainWhenASessionHasDied) {
  startCloud();
  world->setRoute(true);
  startCompanion();
  const auto live = livePhone();
  const auto x = desktop.pointer().first;
  ASSERT_TRUE(moves(*live, 10));
  live->kill();
  // The companion has to find that out, and then the offer of this one, which it has passed over until then.
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_TRUE(pointerIsAt(x + 40));
}

}  // namespace
}  // namespace tevanto
