#include "platform/linux/input/WheelSteps.h"

#include <gtest/gtest.h>

#include <limits>

namespace tevanto {
namespace {

TEST(WheelSteps, keepsTheRestForTheNextScroll) {
  WheelSteps steps;
  EXPECT_EQ(steps.take(14), 0);
  EXPECT_EQ(steps.take(1), 1);
  EXPECT_EQ(steps.take(40), 2);
  EXPECT_EQ(steps.take(5), 1);
}

TEST(WheelSteps, goesBothWays) {
  WheelSteps steps;
  EXPECT_EQ(steps.take(-20), -1);
  EXPECT_EQ(steps.take(5), 0);
  EXPECT_EQ(steps.take(-15), -1);
}

TEST(WheelSteps, boundsWhatNoWindowCanUse) {
  WheelSteps steps;
  EXPECT_EQ(steps.take(std::numeric_limits<std::int32_t>::max()), WheelSteps::kMostSteps);
  EXPECT_EQ(steps.take(std::numeric_limits<std::int32_t>::min()), -WheelSteps::kMostSteps);
}

}  // namespace
}  // namespace tevanto
