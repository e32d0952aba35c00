#include "platform/macos/values/system/MediaTime.h"

#include <gtest/gtest.h>

#include <limits>

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(MediaTime, ofAPresentationTimeIsExactInNanoseconds) {
  EXPECT_EQ(mediaTimeOf(0ns), (MediaTime{0, 1'000'000'000}));
  EXPECT_EQ(mediaTimeOf(12345678901234ns), (MediaTime{12345678901234, 1'000'000'000}));
  EXPECT_EQ(mediaTimeOf(-1ns), (MediaTime{-1, 1'000'000'000}));
}

TEST(MediaTime, ofAFrameIsOneUnitOfTheRateForEveryRateThatIsAsked) {
  for (std::int64_t fps = 1; fps <= 1000; ++fps) {
    const std::chrono::nanoseconds interval((1'000'000'000 + fps / 2) / fps);
    EXPECT_EQ(frameIntervalOf(interval), (MediaTime{1, static_cast<std::int32_t>(fps)})) << fps;
  }
}

TEST(MediaTime, ofAnIntervalThatIsNoRateStaysInNanoseconds) {
  EXPECT_EQ(frameIntervalOf(33ms), (MediaTime{33'000'000, 1'000'000'000}));
  EXPECT_EQ(frameIntervalOf(1001ms), (MediaTime{1'001'000'000, 1'000'000'000}));
  EXPECT_EQ(frameIntervalOf(2s), (MediaTime{2'000'000'000, 1'000'000'000}));
}

TEST(MediaTime, ofNoIntervalIsZero) {
  EXPECT_EQ(frameIntervalOf(0ns), MediaTime());
  EXPECT_EQ(frameIntervalOf(-1s), MediaTime());
}

TEST(MediaTime, becomesTheNearestNanosecond) {
  EXPECT_EQ(nanosecondsOf({1, 15}), 66'666'667ns);
  EXPECT_EQ(nanosecondsOf({2, 3}), 666'666'667ns);
  EXPECT_EQ(nanosecondsOf({-2, 3}), -666'666'667ns);
  EXPECT_EQ(nanosecondsOf({1, 600}), 1'666'667ns);
  EXPECT_EQ(nanosecondsOf({5, 10}), 500ms);
  EXPECT_EQ(nanosecondsOf({123'456'789'012'345, 1'000'000'000}), 123'456'789'012'345ns);
  EXPECT_EQ(nanosecondsOf(
                {std::numeric_limits<std::int32_t>::max() - 1LL, std::numeric_limits<std::int32_t>::max()}),
            1s);
}

TEST(MediaTime, isNoneWithoutAScaleOrOutOfReach) {
  EXPECT_EQ(nanosecondsOf({0, 0}), std::nullopt);
  EXPECT_EQ(nanosecondsOf({1, -15}), std::nullopt);
  EXPECT_EQ(nanosecondsOf({std::numeric_limits<std::int64_t>::max(), 1}), std::nullopt);
  EXPECT_EQ(nanosecondsOf({std::numeric_limits<std::int64_t>::min(), 1}), std::nullopt);
  EXPECT_TRUE(nanosecondsOf({std::numeric_limits<std::int64_t>::max() / 2, 1'000'000'000}));
}

TEST(MediaTime, goesThereAndBackUnchanged) {
  for (const auto time : {0ns, 1ns, 999'999'999ns, 86'400'000'000'001ns, -7ns})
    EXPECT_EQ(nanosecondsOf(mediaTimeOf(time)), time);
}

}  // namespace
}  // namespace tevanto
