#include "platform/macos/values/system/LoginItemStates.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(LoginItemStates, eachNumberOfTheServiceHasItsStatusAndEveryOtherIsUnknown) {
  EXPECT_EQ(loginItemStatusOf(0), LoginItemStatus::notRegistered);
  EXPECT_EQ(loginItemStatusOf(1), LoginItemStatus::enabled);
  EXPECT_EQ(loginItemStatusOf(2), LoginItemStatus::requiresApproval);
  EXPECT_EQ(loginItemStatusOf(3), LoginItemStatus::notFound);
  EXPECT_EQ(loginItemStatusOf(4), LoginItemStatus::unknown);
  EXPECT_EQ(loginItemStatusOf(-1), LoginItemStatus::unknown);
}

}  // namespace
}  // namespace tevanto
