#include "platform/linux/input/WheelSteps.h"

#include <gtest/gtest.h>

#include <limits>

namespace tevanto {
namespace {

TEST(WheelSteps, keepsTheRestForTheNextScroll) {
  WheelSteps steps;
  EXPECT_EQ(steps.add(14), 0);
  EXPECT_EQ(steps.add(1), 1);
  EXPECT_EQ(steps.add(40), 2);
  EXPECT_EQ(steps.add(5), 1);
}

TEST(WheelSteps, goesBothWays) {
  WheelSteps steps;
  EXPECT_EQ(steps.add(-20), -1);
  EXPECT_EQ(steps.add(5), 0);
  EXPECT_EQ(steps.add(-15), -1);
}

TEST(WheelSteps, boundsWhatNoWindowCanUse) {
  WheelSteps steps;
  EXPECT_EQ(steps.add(std::numeric_limits<std::int32_t>::max()), WheelSteps::kMostSteps);
  EXPECT_EQ(steps.add(std::numeric_limits<std::int32_t>::min()), -WheelSteps::kMostSteps);
}

}  // namespace
}  // namespace tevanto
