#include "phone/MirrorStatistics.h"

#include <gtest/gtest.h>

namespace tevanto::phone {
namespace {

using std::chrono::milliseconds;

class MirrorStatisticsTest : public testing::Test {
 protected:
  MirrorStatistics::Time at(int time) const { return start_ + milliseconds(time); }

  MirrorStatistics::Time start_{std::chrono::hours(1)};
  MirrorStatistics statistics_{start_};
};

TEST_F(MirrorStatisticsTest, ratesAreThoseOfTheLastSecond) {
  statistics_.received(1000, at(100));
  statistics_.decoded(true, at(100), at(104));
  statistics_.received(500, at(900));
  statistics_.decoded(false, at(900), at(902));
  auto report = statistics_.report(at(1000));
  EXPECT_EQ(report.framesPerSecond, 2);
  EXPECT_EQ(report.bitsPerSecond, 12000);
  EXPECT_DOUBLE_EQ(report.decodeMilliseconds.value(), 3);
  report = statistics_.report(at(1200));
  EXPECT_EQ(report.framesPerSecond, 1);
  EXPECT_EQ(report.bitsPerSecond, 4000);
  EXPECT_DOUBLE_EQ(report.decodeMilliseconds.value(), 2);
  report = statistics_.report(at(5000));
  EXPECT_EQ(report.framesPerSecond, 0);
  EXPECT_EQ(report.bitsPerSecond, 0);
  EXPECT_FALSE(report.decodeMilliseconds);
}

TEST_F(MirrorStatisticsTest, totalsStay) {
  statistics_.received(1000, at(100));
  statistics_.decoded(true, at(100), at(104));
  statistics_.decoded(false, at(200), at(202));
  statistics_.dropped();
  statistics_.shown(1280, 720);
  const auto report = statistics_.report(at(60000));
  EXPECT_EQ(report.elapsed, milliseconds(60000));
  EXPECT_EQ(report.frames, 2);
  EXPECT_EQ(report.keyframes, 1);
  EXPECT_EQ(report.dropped, 1);
  EXPECT_EQ(report.bytes, 1000);
  EXPECT_EQ(report.width, 1280);
  EXPECT_EQ(report.height, 720);
}

TEST_F(MirrorStatisticsTest, anAnswerIsTheFirstKeyFrameAfterTheQuestion) {
  EXPECT_FALSE(statistics_.report(at(10)).answerMilliseconds);
  statistics_.decoded(true, at(20), at(30));
  EXPECT_DOUBLE_EQ(statistics_.report(at(40)).answerMilliseconds.value(), 30);
  statistics_.decoded(true, at(4000), at(4010));  // came by itself
  EXPECT_DOUBLE_EQ(statistics_.report(at(5000)).answerMilliseconds.value(), 30);
  statistics_.asked(at(6000));
  statistics_.decoded(false, at(6001), at(6002));
  statistics_.decoded(true, at(6003), at(6050));
  EXPECT_DOUBLE_EQ(statistics_.report(at(6060)).answerMilliseconds.value(), 50);
}

}  // namespace
}  // namespace tevanto::phone
