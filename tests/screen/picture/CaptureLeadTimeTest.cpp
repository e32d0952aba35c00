#include "screen/picture/CaptureLeadTime.h"

#include <gtest/gtest.h>

#include <vector>

namespace tevanto {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr milliseconds kInterval{64};

TEST(CaptureLeadTime, isForLargePicturesOnly) {
  CaptureLeadTime start(kInterval);
  EXPECT_EQ(start.length(), milliseconds(0)) << "nothing is known yet";
  start.drew(milliseconds(4), true);
  EXPECT_EQ(start.length(), milliseconds(5));
  start.drew(milliseconds(4), false);
  EXPECT_EQ(start.length(), milliseconds(0));
}

TEST(CaptureLeadTime, followsTheTimeThatDrawingTakesUpToAQuarterOfAnInterval) {
  CaptureLeadTime start(kInterval);
  const struct {
    microseconds time;
    microseconds length;
  } rows[] = {{microseconds(800), microseconds(1000)},
              {microseconds(12'000), microseconds(15'000)},
              {microseconds(12'800), microseconds(16'000)},
              {microseconds(60'000), microseconds(16'000)}};
  for (const auto& row : rows) {
    start.drew(row.time, true);
    EXPECT_EQ(start.length(), row.length) << row.time.count();
  }
}

// How many pictures after each one that was drawn over wait for their moment.
TEST(CaptureLeadTime, isGivenUpForLongerEachTimeThatItWasOfNoUse) {
  CaptureLeadTime start(kInterval);
  start.drew(milliseconds(4), true);
  std::vector<int> pauses;
  for (int i = 0; i < 6; ++i) {
    start.ended(true);
    int pause = 0;
    for (; start.length() == milliseconds(0); ++pause) start.drew(milliseconds(4), true);
    pauses.push_back(pause);
  }
  EXPECT_EQ(pauses, (std::vector<int>{1, 2, 4, 8, 8, 8}));
}

TEST(CaptureLeadTime, isTakenAgainAtOnceAfterOneThatWasOfUse) {
  CaptureLeadTime start(kInterval);
  start.drew(milliseconds(4), true);
  start.ended(true);
  start.drew(milliseconds(4), true);
  start.ended(true);
  start.drew(milliseconds(4), true);
  start.drew(milliseconds(4), true);
  start.ended(false);
  EXPECT_EQ(start.length(), milliseconds(5));
  start.ended(true);
  start.drew(milliseconds(4), true);
  EXPECT_EQ(start.length(), milliseconds(5)) << "the next pause is the shortest again";
}

}  // namespace
}  // namespace tevanto
