#include "platform/linux/input/PointerPosition.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tevanto {
namespace {

class PointerPositionTest : public ::testing::Test {
 protected:
  PointerPositionTest() {
    track.setScreen(1000, 500);
    track.setPixel(100, 100);
  }
  PointerPosition::Step moveBy(double dx, double dy) {
    const auto at = track.location();
    return track.moveTo({at.x + dx, at.y + dy});
  }
  PointerPosition track;
};

TEST_F(PointerPositionTest, keepsThePartOfAPixelThatNoScreenShows) {
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

TEST_F(PointerPositionTest, keepsThePartWhenTheServerSaysTheSamePixel) {
  EXPECT_EQ(moveBy(0.4, 0), PointerPosition::Step{});
  track.setPixel(100, 100);
  EXPECT_DOUBLE_EQ(track.location().x, 100.4);
  EXPECT_EQ(moveBy(0.4, 0), (PointerPosition::Step{1, 0}));
}

TEST_F(PointerPositionTest, forgetsThePartWhenThePointerWasMovedByHand) {
  moveBy(0.4, 0.4);
  track.setPixel(200, 100);
  EXPECT_EQ(track.location(), (PointerLocation{200, 100.4}));
}

TEST_F(PointerPositionTest, staysOnTheScreenButLetsTheServerDecideWhereItsEdgeIs) {
  EXPECT_EQ(moveBy(5000, -5000), (PointerPosition::Step{5000, -5000}));
  EXPECT_EQ(track.location(), (PointerLocation{999, 0}));
  EXPECT_EQ(moveBy(-1, 1), (PointerPosition::Step{-1, 1}));
}

TEST_F(PointerPositionTest, boundsStepsAndIgnoresWhatIsNoNumber) {
  EXPECT_EQ(moveBy(1e300, -std::numeric_limits<double>::infinity()),
            (PointerPosition::Step{PointerPosition::kFarthestStep, -PointerPosition::kFarthestStep}));
  const auto at = track.location();
  EXPECT_EQ(track.moveTo({std::nan(""), at.y}), PointerPosition::Step{});
  EXPECT_EQ(track.location(), at);
}

}  // namespace
}  // namespace tevanto
