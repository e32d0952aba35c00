#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/AwayFixture.h"

// The road away without a relay: the two meet through records in the cloud.
namespace tevanto {
namespace {

using test::AwayWorld;
using ::testing::HasSubstr;
using ::testing::Not;

class AwayCloud : public Away {
 protected:
  static int count(const std::string& text, const std::string& what) {
    int found = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++found;
    return found;
  }
};

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
  std::cout << said.output << "\n";
  companion->process().terminate();
  std::cout << companion->process().readAll();
}

TEST_F(AwayCloud, meetsAgainWhenASessionIsOver) {
  startCloud();
  world->setRoute(true);
  startCompanion();
  const auto x = desktop.pointer().first;
  // By then the companion looks for a phone again, and finds the offer of the one that has paired with it.
  ASSERT_TRUE(saysSoon(companion->process(), "polling as mac"));
  ASSERT_TRUE(saysSoon(companion->process(), "polling as mac"));
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_EQ(count(said.output, "sending offer"), 1) << "it was met at the first attempt\n" << said.output;
  companion->process().terminate();
  EXPECT_THAT(companion->process().readAll(), Not(HasSubstr("ice: failed")))
      << "it did not answer the phone that was gone";
}

TEST_F(AwayCloud, meetsAgainWhenASessionHasDied) {
  startCloud();
  world->setRoute(true);
  startCompanion();
  const auto live = livePhone();
  const auto x = desktop.pointer().first;
  ASSERT_TRUE(moves(*live, 10));
  live->kill();
  const auto said = phone({"--verbose", "move", "30", "0"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_TRUE(pointerIsAt(x + 40));
  EXPECT_LE(count(said.output, "sending offer"), 2) << "it kept its offer until the companion looked\n"
                                                    << said.output;
  companion->process().terminate();
  EXPECT_THAT(companion->process().readAll(), Not(HasSubstr("ice: failed")))
      << "it did not answer the phone that was gone";
}

}  // namespace
}  // namespace tevanto
