#include "tests/support/desktop/PrivateBus.h"

#include <gtest/gtest.h>

#include <csignal>

#include "tests/support/desktop/DBusMock.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(PrivateBus, servesMocksAndTellsWhatTheyWereAsked) {
  test::PrivateBus bus;
  auto logind = test::DBusMock::ofTemplate(bus, "logind");
  EXPECT_TRUE(bus.hasOwner("org.freedesktop.login1"));
  EXPECT_EQ(logind->call("org.freedesktop.login1.Manager.CanReboot"), "('yes',)\n");
  EXPECT_NE(logind->calls().find("CanReboot"), std::string::npos);
}

TEST(PrivateBus, losesTheNamesOfThoseWhoEnd) {
  test::PrivateBus bus;
  test::DBusMock mock(bus, "org.example.Lamp", "/Lamp", "org.example.Lamp");
  mock.addMethod({"org.example.Lamp", "Answer", "", "u", "ret = 42"});
  EXPECT_EQ(mock.call("org.example.Lamp.Answer"), "(uint32 42,)\n");
  mock.process().kill();
  EXPECT_TRUE(test::eventually([&] { return !bus.hasOwner("org.example.Lamp"); }));
}

TEST(ChildProcess, readsLinesAndTellsHowTheProgramEnded) {
  test::ChildProcess shell({"sh", "-c", "read word; echo \"<$word>\"; echo rest; exit 3"});
  shell.write("hello\n");
  EXPECT_EQ(shell.readLine(), "<hello>");
  EXPECT_EQ(shell.readLine(), "rest");
  EXPECT_EQ(shell.readLine(), std::nullopt);
  EXPECT_EQ(shell.wait(), 3);

  test::ChildProcess sleeper({"sleep", "1000"});
  EXPECT_EQ(sleeper.readLine(1ms), std::nullopt);
  sleeper.kill();
  EXPECT_EQ(sleeper.wait(), 128 + SIGKILL);
}

}  // namespace
}  // namespace tevanto
