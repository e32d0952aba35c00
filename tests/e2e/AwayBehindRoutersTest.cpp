#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>

#include "tests/e2e/AwayFixture.h"
#include "tests/support/network/NatRouter.h"

// The away connection as most people have it: the companion and the phone each behind a router that
// translates addresses, so that neither's own address means anything to the other.
namespace tevanto {
namespace {

using test::AwayWorld;
using test::NatRouter;
using test::PortMapping;
using ::testing::ContainsRegex;

class AwayBehindRouters : public Away {
 protected:
  void SetUp() override {
    if (!AwayWorld::permitted()) GTEST_SKIP() << "networks of its own need root";
    if (const auto why = NatRouter::missing()) GTEST_SKIP() << *why;
  }

  void startWorld(PortMapping mapping) {
    world = std::make_unique<AwayWorld>(mapping);
    world->setRoute(true);  // between the routers
  }
  /// Returns what the phone says of it.
  std::string movesThePointer() {
    const auto x = desktop.pointer().first;
    const auto said = phone({"--verbose", "move", "30", "0"});
    EXPECT_EQ(said.exitStatus, 0) << said.output;
    EXPECT_TRUE(pointerIsAt(x + 30));
    return said.output;
  }
};

// The TURN server tells each what its router makes of its address, as a STUN server does. It may carry the
// first packets too, being the faster to be found.
TEST_F(AwayBehindRouters, meetsDirectlyWhereTheRoutersKeepPorts) {
  startWorld(PortMapping::kept);
  startServers();
  startCompanion();
  EXPECT_TRUE(goesBy("direct"));
  const auto live = livePhone();
  const auto x = desktop.pointer().first;
  ASSERT_TRUE(moves(*live, 10));
  world->turn().kill();
  EXPECT_TRUE(moves(*live, 10)) << "in the same session";
  EXPECT_TRUE(live->isRunning());
  EXPECT_TRUE(pointerIsAt(x + 20));
}

TEST_F(AwayBehindRouters, goesThroughTURNWhereNobodyCanKnowThePorts) {
  startWorld(PortMapping::random);
  startServers();
  startCompanion();
  movesThePointer();
  EXPECT_TRUE(goesBy("TURN relay"));
}

TEST_F(AwayBehindRouters, needsNothingButASTUNServerAndRecords) {
  startWorld(PortMapping::kept);
  world->startServers(kRelay);  // of which nobody is told but that there is STUN
  deploy({{"TEVANTO_STUN_HOSTS", std::string(AwayWorld::kServerAddress) + ":3478"}});
  startCloud();
  startCompanion();
  EXPECT_THAT(movesThePointer(), ContainsRegex("writing cloud offer [^\n]* srflx=[1-9][^\n]* relay=0"));
  EXPECT_TRUE(goesBy("direct"));
  companion->process().signal(SIGTERM);
  EXPECT_THAT(companion->process().readAll(),
              ContainsRegex("writing cloud answer [^\n]* srflx=[1-9][^\n]* relay=0"));
}

}  // namespace
}  // namespace tevanto
