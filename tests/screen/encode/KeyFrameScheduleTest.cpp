#include "screen/encode/KeyFrameSchedule.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(KeyFrameSchedule, theFirstFrameIsDue) { EXPECT_TRUE(KeyFrameSchedule(60, 4s).isDue(0s)); }

TEST(KeyFrameSchedule, isDueAfterItsFrames) {
  KeyFrameSchedule schedule(3, 4s);
  schedule.encoded(0ms, true);
  EXPECT_FALSE(schedule.isDue(10ms));
  schedule.encoded(10ms, false);
  EXPECT_FALSE(schedule.isDue(20ms));
  schedule.encoded(20ms, false);
  EXPECT_TRUE(schedule.isDue(30ms));
  schedule.encoded(30ms, true);
  EXPECT_FALSE(schedule.isDue(40ms));
}

TEST(KeyFrameSchedule, isDueByTheClockWhenFramesAreFarApart) {
  KeyFrameSchedule schedule(60, 4s);
  schedule.encoded(1s, true);
  EXPECT_FALSE(schedule.isDue(4999ms));
  EXPECT_TRUE(schedule.isDue(5s));
  schedule.encoded(4500ms, true);
  EXPECT_FALSE(schedule.isDue(8s));
  EXPECT_TRUE(schedule.isDue(8500ms));
}

TEST(KeyFrameSchedule, stillIsDueWhenTheEncoderDidNotMakeOne) {
  KeyFrameSchedule schedule(2, 4s);
  schedule.encoded(0s, true);
  schedule.encoded(1s, false);
  schedule.encoded(2s, false);
  EXPECT_TRUE(schedule.isDue(3s));
}

TEST(KeyFrameSchedule, zeroSwitchesALimitOff) {
  KeyFrameSchedule byClock(0, 4s);
  KeyFrameSchedule byFrames(2, 0s);
  for (auto* schedule : {&byClock, &byFrames}) {
    schedule->encoded(0s, true);
    schedule->encoded(1s, false);
  }
  EXPECT_FALSE(byClock.isDue(3s));
  EXPECT_TRUE(byFrames.isDue(3s));
  byFrames.encoded(3s, true);
  EXPECT_FALSE(byFrames.isDue(100s));
}

}  // namespace
}  // namespace tevanto
