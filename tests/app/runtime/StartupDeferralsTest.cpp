#include "app/runtime/StartupDeferrals.h"

#include <gtest/gtest.h>

#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeScreenPermission.h"

namespace tevanto {
namespace {

class StartupDeferralsTest : public testing::Test {
 protected:
  StartupDeferralsTest() {
    kernel.setBattery(70, PowerSources::kAcPower);
    service.setBattery(72, PowerSources::kAcPower);
  }

  test::FakePowerSources kernel;
  test::FakePowerSources service;
  test::FakeScreenPermission permission;
  StartupDeferrals deferrals{kernel, service, permission};
};

TEST_F(StartupDeferralsTest, takeTheBatteriesFromTheKernelUntilTheStartIsOver) {
  EXPECT_EQ(deferrals.powerSources().snapshot().front().currentCapacity, 70);
  deferrals.started();
  EXPECT_EQ(deferrals.powerSources().snapshot().front().currentCapacity, 72);
}

TEST_F(StartupDeferralsTest, doNotAskForThePermissionUntilTheStartIsOver) {
  permission.granted = true;
  EXPECT_FALSE(deferrals.screenPermission().isGranted());
  deferrals.started();
  EXPECT_TRUE(deferrals.screenPermission().isGranted());
}

TEST_F(StartupDeferralsTest, requestThePermissionAtAnyTime) {
  deferrals.screenPermission().request();
  EXPECT_EQ(permission.requests, 1);
}

}  // namespace
}  // namespace tevanto
