#include "screen/ScreenFrameSendGate.h"

#include <gtest/gtest.h>

#include <vector>

#include "screen/encode/ManagedAtomicFlag.h"

namespace tevanto {
namespace {

using Decision = ScreenFrameSendGate::Outcome;

/// One frame offered: what it is, what the route would say, and what follows.
struct Step {
  bool isKeyframe;
  bool accepts;
  bool isSent;  // reached the route
  Decision outcome;
  bool awaitsAfterwards;
};

void expectSteps(std::initializer_list<Step> steps) {
  ScreenFrameSendGate gate;
  int number = 0;
  for (const auto& step : steps) {
    SCOPED_TRACE(number++);
    bool sent = false;
    EXPECT_EQ(gate.offer(step.isKeyframe,
                         [&] {
                           sent = true;
                           return step.accepts;
                         }),
              step.outcome);
    EXPECT_EQ(sent, step.isSent);
    EXPECT_EQ(gate.isAwaitingKeyframe(), step.awaitsAfterwards);
  }
}

TEST(ScreenFrameSendGate, isOpenAtFirst) {
  expectSteps({{false, true, true, Decision::sent, false}, {true, true, true, Decision::sent, false}});
}

TEST(ScreenFrameSendGate, resumesOnlyWithAKeyFrame) {
  expectSteps({{true, true, true, Decision::sent, false},
               {false, false, true, Decision::keyframeNeeded, true},
               {false, true, false, Decision::keyframeNeeded, true},
               {false, true, false, Decision::keyframeNeeded, true},
               {true, true, true, Decision::sent, false},
               {false, true, true, Decision::sent, false}});
}

TEST(ScreenFrameSendGate, aRefusedKeyFrameKeepsItWaiting) {
  expectSteps({{true, false, true, Decision::keyframeNeeded, true},
               {true, false, true, Decision::keyframeNeeded, true},
               {false, true, false, Decision::keyframeNeeded, true},
               {true, true, true, Decision::sent, false}});
}

TEST(ScreenFrameSendGate, theRouteMayAskTheGate) {
  ScreenFrameSendGate gate;
  gate.offer(true, [&] { return !gate.isAwaitingKeyframe(); });
  EXPECT_FALSE(gate.isAwaitingKeyframe());
}

TEST(ManagedAtomicFlag, isReadOnce) {
  ManagedAtomicFlag flag;
  EXPECT_FALSE(flag.readAndClear());
  flag.set();
  flag.set();
  EXPECT_TRUE(flag.readAndClear());
  EXPECT_FALSE(flag.readAndClear());
}

}  // namespace
}  // namespace tevanto
