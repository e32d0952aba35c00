#include "screen/encode/KeyFrameRequests.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

using namespace std::chrono_literals;

class KeyFrameRequestsTest : public ::testing::Test {
 protected:
  void deltas(PresentationTime time, int count) {
    for (int i = 0; i < count; ++i) requests_.encoded(time, false);
  }

  KeyFrameRequests requests_;
};

TEST_F(KeyFrameRequestsTest, theFirstMayComeAtOnce) { EXPECT_TRUE(requests_.mayBeMet(0ms)); }

TEST_F(KeyFrameRequestsTest, oneBehindOrdinaryFramesMayComeAtOnce) {
  requests_.encoded(0ms, true);
  deltas(66ms, KeyFrameRequests::kFewFrames);
  EXPECT_FALSE(requests_.mayBeMet(132ms));
  deltas(132ms, 1);
  EXPECT_TRUE(requests_.mayBeMet(132ms));
}

TEST_F(KeyFrameRequestsTest, thoseThatFollowOneAnotherWaitLongerEachTime) {
  PresentationTime last = 5s;
  requests_.encoded(last, true);
  for (const auto pause : {1s, 2s, 4s, 4s, 4s}) {
    EXPECT_FALSE(requests_.mayBeMet(last + pause - 1ms)) << pause.count();
    EXPECT_TRUE(requests_.mayBeMet(last + pause)) << pause.count();
    last += pause;
    requests_.encoded(last, true);
    deltas(last, 1);  // refused on its way, so that another key frame is asked for
  }
}

TEST_F(KeyFrameRequestsTest, ordinaryFramesInBetweenBeginAnew) {
  requests_.encoded(0s, true);
  requests_.encoded(1s, true);
  requests_.encoded(3s, true);
  EXPECT_FALSE(requests_.mayBeMet(6s));
  deltas(4s, 2);
  EXPECT_TRUE(requests_.mayBeMet(6s));
  requests_.encoded(6s, true);
  EXPECT_FALSE(requests_.mayBeMet(6999ms));
  EXPECT_TRUE(requests_.mayBeMet(7s));
}

}  // namespace
}  // namespace tevanto
