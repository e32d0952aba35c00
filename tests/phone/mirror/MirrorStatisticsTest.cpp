#include "phone/mirror/MirrorStatistics.h"

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

TEST_F(MirrorStatisticsTest, theDelayIsThatOfTheFirstKeyFrameAfterTheQuestion) {
  EXPECT_FALSE(statistics_.report(at(10)).delayMilliseconds);
  statistics_.decoded(true, at(20), at(30));
  EXPECT_DOUBLE_EQ(statistics_.report(at(40)).delayMilliseconds.value(), 30);
  statistics_.decoded(true, at(4000), at(4010));  // came by itself
  EXPECT_DOUBLE_EQ(statistics_.report(at(5000)).delayMilliseconds.value(), 30);
  statistics_.asked(at(6000));
  statistics_.decoded(false, at(6001), at(6002));
  statistics_.decoded(true, at(6003), at(6050));
  EXPECT_DOUBLE_EQ(statistics_.report(at(6060)).delayMilliseconds.value(), 50);
}

TEST_F(MirrorStatisticsTest, aQuestionThatIsOpenForLongerCounts) {
  statistics_.decoded(true, at(20), at(30));
  statistics_.asked(at(1000));
  EXPECT_DOUBLE_EQ(statistics_.report(at(1010)).delayMilliseconds.value(), 30)
      << "not yet known to be longer";
  EXPECT_DOUBLE_EQ(statistics_.report(at(3000)).delayMilliseconds.value(), 2000);
  statistics_.decoded(true, at(3090), at(3100));
  EXPECT_DOUBLE_EQ(statistics_.report(at(9000)).delayMilliseconds.value(), 2100);
}

TEST_F(MirrorStatisticsTest, theDelayGetsOldWhileThePictureMoves) {
  EXPECT_FALSE(statistics_.isDelayOld(at(10000))) << "the hello is not answered yet";
  statistics_.decoded(true, at(10000), at(10000));
  EXPECT_FALSE(statistics_.isDelayOld(at(12500)));
  EXPECT_FALSE(statistics_.isDelayOld(at(13000))) << "at rest";
  statistics_.decoded(false, at(12900), at(12900));
  EXPECT_FALSE(statistics_.isDelayOld(at(12999)));
  EXPECT_TRUE(statistics_.isDelayOld(at(13000)));
  statistics_.asked(at(13000));
  EXPECT_FALSE(statistics_.isDelayOld(at(13500))) << "it is asked for";
  statistics_.decoded(true, at(13600), at(13600));
  statistics_.decoded(false, at(16500), at(16500));
  EXPECT_FALSE(statistics_.isDelayOld(at(16599)));
  EXPECT_TRUE(statistics_.isDelayOld(at(16600)));
}

}  // namespace
}  // namespace tevanto::phone
