#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <utility>

#include "tests/e2e/AwayFixture.h"

// One session on each of the two routes from one end to the other. Run under AddressSanitizer too.
namespace tevanto {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class AwaySession : public Away {
 protected:
  /// The companion stops when it is told to, and a sanitizer has found nothing in it.
  void expectCleanEnd() {
    companion->process().signal(SIGTERM);
    const auto said = companion->process().readAll();
    EXPECT_EQ(companion->process().wait(), 0) << said;
    EXPECT_THAT(said, HasSubstr("[answerer] offer received"));
    EXPECT_THAT(said, Not(HasSubstr("invite failed"))) << "no cloud was deployed that could keep one";
  }
};

TEST_F(AwaySession, goesDirectlyWhereThereIsARoute) {
  startServers();
  world->setRoute(true);
  startCompanion();
  const auto [x, y] = desktop.pointer();
  EXPECT_EQ(phone({"move", "30", "-20"}).exitStatus, 0);
  EXPECT_TRUE(test::eventually([&, at = std::pair(x + 30, y - 20)] { return desktop.pointer() == at; }));
  EXPECT_TRUE(goesBy("direct"));
  const auto said =
      phone({"--verbose", "mirror", "--snapshot", (folder.path() / "seen.png").string(), "--seconds", "2"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_THAT(said.output, HasSubstr("of 960 x"));
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "seen.png"));
  expectCleanEnd();
}

TEST_F(AwaySession, goesThroughTURNWhereOnlyARelayWorks) {
  startServers();
  startCompanion();
  const auto x = desktop.pointer().first;
  EXPECT_EQ(phone({"move", "30", "0"}).exitStatus, 0);
  EXPECT_TRUE(pointerIsAt(x + 30));
  EXPECT_TRUE(goesBy("TURN relay"));
  const auto said =
      phone({"--verbose", "mirror", "--snapshot", (folder.path() / "seen.png").string(), "--seconds", "2"});
  EXPECT_EQ(said.exitStatus, 0) << said.output;
  EXPECT_THAT(said.output, HasSubstr("selected route: TURN relay"));
  EXPECT_THAT(said.output, HasSubstr("of 960 x"));
  EXPECT_THAT(world->turn().log(), HasSubstr("UDP"));
  expectCleanEnd();
}

}  // namespace
}  // namespace tevanto
