// The program finds a companion through a real Avahi daemon, and nobody without one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "platform/linux/avahi/AvahiServiceAdvertiser.h"
#include "tests/support/desktop/AvahiDaemon.h"
#include "tests/support/desktop/PrivateBus.h"
#include "tests/support/peers/ScriptedCompanion.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::phone {
namespace {

using testing::HasSubstr;

class PhoneDiscoveryTest : public testing::Test {
 protected:
  void SetUp() override { ::setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), 1); }

  test::ProgramResult run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TEVANTO_PHONE);
    auto environment = bus_.environment();
    environment.emplace_back("XDG_CONFIG_HOME", configuration_.path().string());
    return test::runProgram(std::move(arguments), {.environment = environment, .mergeErrors = true});
  }

  test::PrivateBus bus_;
  test::TemporaryFolder configuration_;
  test::ScriptedCompanion companion_;
};

TEST_F(PhoneDiscoveryTest, pairsAndActsWithoutAnAddress) {
  const test::AvahiDaemon daemon(bus_);
  std::mutex mutex;
  AdvertisingStatus status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(
      {"Desk", "_tevanto-remote._tcp", companion_.port(), {{"id", "DESK-ID"}, {"kind", "mac"}}},
      [&](const AdvertisingStatus& now) {
        const std::lock_guard lock(mutex);
        status = now;
      });
  ASSERT_TRUE(test::eventually([&] {
    const std::lock_guard lock(mutex);
    return status.state == AdvertisingState::advertised;
  }));

  const auto found = run({"discover"});
  EXPECT_EQ(found.exitStatus, 0) << found.output;
  EXPECT_EQ(found.output, "Desk\n  " + companion_.host() + "\n");
  const auto paired = run({"pair", "012345"});
  EXPECT_EQ(paired.exitStatus, 0) << paired.output;
  EXPECT_EQ(run({"discover"}).output, "Desk  (paired)\n  " + companion_.host() + "\n");
  const auto moved = run({"move", "3", "4"});
  EXPECT_EQ(moved.exitStatus, 0) << moved.output;
  ASSERT_EQ(companion_.commands().size(), 1u);
  EXPECT_EQ(companion_.commands()[0].type, "movePointer");

  const auto other = run({"--companion", "Attic", "--timeout", "1", "hello"});
  EXPECT_EQ(other.exitStatus, 3) << other.output;
}

TEST_F(PhoneDiscoveryTest, saysHowToConnectWithoutADaemon) {
  const auto found = run({"hello"});
  EXPECT_EQ(found.exitStatus, 3);
  EXPECT_THAT(found.output, HasSubstr("--host ADDRESS"));
  const auto direct = run({"--host", companion_.host(), "pair", "012345"});
  EXPECT_EQ(direct.exitStatus, 0) << direct.output;
}

}  // namespace
}  // namespace tevanto::phone
