#include "platform/linux/input/PointerTrack.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tevanto {
namespace {

class PointerTrackTest : public ::testing::Test {
 protected:
  PointerTrackTest() {
    track.setScreen(1000, 500);
    track.setPixel(100, 100);
  }
  PointerTrack::Step moveBy(double dx, double dy) {
    const auto at = track.location();
    return track.moveTo({at.x + dx, at.y + dy});
  }
  PointerTrack track;
};

TEST_F(PointerTrackTest, keepsThePartOfAPixelThatNoScreenShows) {
  int dx = 0;
  int dy = 0;
  for (int i = 0; i < 10; ++i) {
    const auto step = moveBy(0.4, -0.4);
    dx += step.dx;
    dy += step.dy;
  }
  EXPECT_EQ(dx, 4);
  EXPECT_EQ(dy, -4);
}

TEST_F(PointerTrackTest, keepsThePartWhenTheServerSaysTheSamePixel) {
  EXPECT_EQ(moveBy(0.4, 0), PointerTrack::Step{});
  track.setPixel(100, 100);
  EXPECT_DOUBLE_EQ(track.location().x, 100.4);
  EXPECT_EQ(moveBy(0.4, 0), (PointerTrack::Step{1, 0}));
}

TEST_F(PointerTrackTest, forgetsThePartWhenThePointerWasMovedByHand) {
  moveBy(0.4, 0.4);
  track.setPixel(200, 100);
  EXPECT_EQ(track.location(), (PointerLocation{200, 100.4}));
}

TEST_F(PointerTrackTest, staysOnTheScreenButLetsTheServerDecideWhereItsEdgeIs) {
  EXPECT_EQ(moveBy(5000, -5000), (PointerTrack::Step{5000, -5000}));
  EXPECT_EQ(track.location(), (PointerLocation{999, 0}));
  EXPECT_EQ(moveBy(-1, 1), (PointerTrack::Step{-1, 1}));
}

TEST_F(PointerTrackTest, boundsStepsAndIgnoresWhatIsNoNumber) {
  EXPECT_EQ(moveBy(1e300, -std::numeric_limits<double>::infinity()),
            (PointerTrack::Step{PointerTrack::kFarthestStep, -PointerTrack::kFarthestStep}));
  const auto at = track.location();
  EXPECT_EQ(track.moveTo({std::nan(""), at.y}), PointerTrack::Step{});
  EXPECT_EQ(track.location(), at);
}

}  // namespace
}  // namespace tevanto
