#include "screen/ScreenFrameSendGate.h"

#include <gtest/gtest.h>

#include <vector>

#include "screen/encode/ManagedAtomicFlag.h"

namespace tevanto {
namespace {

using Outcome = ScreenFrameSendGate::Outcome;

/// One frame offered: what it is, what the route would say, and what follows.
struct Step {
  bool isKeyframe;
  bool accepts;
  bool isSent;  // reached the route
  Outcome outcome;
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
  expectSteps({{false, true, true, Outcome::sent, false}, {true, true, true, Outcome::sent, false}});
}

TEST(ScreenFrameSendGate, resumesOnlyWithAKeyFrame) {
  expectSteps({{true, true, true, Outcome::sent, false},
               {false, false, true, Outcome::keyframeNeeded, true},
               {false, true, false, Outcome::keyframeNeeded, true},
               {false, true, false, Outcome::keyframeNeeded, true},
               {true, true, true, Outcome::sent, false},
               {false, true, true, Outcome::sent, false}});
}

TEST(ScreenFrameSendGate, aRefusedKeyFrameKeepsItWaiting) {
  expectSteps({{true, false, true, Outcome::keyframeNeeded, true},
               {true, false, true, Outcome::keyframeNeeded, true},
               {false, true, false, Outcome::keyframeNeeded, true},
               {true, true, true, Outcome::sent, false}});
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
