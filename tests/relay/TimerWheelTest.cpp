#include "relay/TimerWheel.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

namespace tevanto::relay {
namespace {

using namespace std::chrono_literals;
const TimerWheel::TimePoint kWheelStart{1h};

class Alarm final : public TimerWheel::Entry {
 public:
  std::vector<TimerWheel::Duration> rings;
  std::function<void()> onRing;

 private:
  void due(TimerWheel::TimePoint now) override {
    rings.push_back(now - kWheelStart);
    if (onRing) onRing();
  }
};

/// Turns the wheel as a real timer would.
void runUntil(TimerWheel& wheel, TimerWheel::Duration end, TimerWheel::Duration begin = 0ms) {
  for (auto time = begin + 100ms; time <= end; time += 100ms) wheel.advance(kWheelStart + time);
}

TEST(TimerWheel, ringsAtTheFirstTickAtOrAfterTheTime) {
  TimerWheel wheel(100ms, kWheelStart);
  Alarm exact;
  Alarm between;
  wheel.schedule(exact, kWheelStart + 300ms);
  wheel.schedule(between, kWheelStart + 301ms);
  runUntil(wheel, 2s);
  EXPECT_EQ(exact.rings, std::vector<TimerWheel::Duration>{300ms});
  EXPECT_EQ(between.rings, std::vector<TimerWheel::Duration>{400ms});
  EXPECT_FALSE(exact.isScheduled());
}

TEST(TimerWheel, ringsOfThePastComeAtTheNextTick) {
  TimerWheel wheel(100ms, kWheelStart);
  runUntil(wheel, 1s);
  Alarm late;
  Alarm ancient;
  wheel.schedule(late, kWheelStart + 500ms);
  wheel.schedule(ancient, kWheelStart - 1h);
  runUntil(wheel, 3s, 1s);
  EXPECT_EQ(late.rings, std::vector<TimerWheel::Duration>{1100ms});
  EXPECT_EQ(ancient.rings, std::vector<TimerWheel::Duration>{1100ms});
}

TEST(TimerWheel, holdsTimesOfMoreThanOneRound) {
  TimerWheel wheel(100ms, kWheelStart);
  Alarm far;
  Alarm near;
  wheel.schedule(far, kWheelStart + 2min);
  wheel.schedule(near, kWheelStart + 2min - 2 * 25600ms);
  runUntil(wheel, 3min);
  EXPECT_EQ(far.rings, std::vector<TimerWheel::Duration>{2min});
  EXPECT_EQ(near.rings, std::vector<TimerWheel::Duration>{2min - 51200ms});
}

TEST(TimerWheel, catchesUpAfterAPause) {
  TimerWheel wheel(100ms, kWheelStart);
  Alarm first;
  Alarm second;
  wheel.schedule(first, kWheelStart + 1s);
  wheel.schedule(second, kWheelStart + 40s);
  wheel.advance(kWheelStart + 1h);
  EXPECT_EQ(first.rings.size(), 1u);
  EXPECT_EQ(second.rings.size(), 1u);
}

TEST(TimerWheel, isSilentAboutWhatWasCancelledMovedOrDestroyed) {
  TimerWheel wheel(100ms, kWheelStart);
  Alarm cancelled;
  Alarm moved;
  auto destroyed = std::make_unique<Alarm>();
  wheel.schedule(cancelled, kWheelStart + 1s);
  wheel.schedule(moved, kWheelStart + 1s);
  wheel.schedule(*destroyed, kWheelStart + 1s);
  TimerWheel::cancel(cancelled);
  wheel.schedule(moved, kWheelStart + 2s);
  destroyed.reset();
  runUntil(wheel, 5s);
  EXPECT_TRUE(cancelled.rings.empty());
  EXPECT_EQ(moved.rings, std::vector<TimerWheel::Duration>{2s});
}

TEST(TimerWheel, letsAnEntryScheduleItselfAndEndOthers) {
  TimerWheel wheel(100ms, kWheelStart);
  Alarm again;
  auto other = std::make_unique<Alarm>();
  again.onRing = [&] {
    other.reset();
    wheel.schedule(again, kWheelStart + again.rings.back() + 25600ms);
  };
  wheel.schedule(again, kWheelStart + 1s);
  wheel.schedule(*other, kWheelStart + 1s);
  runUntil(wheel, 1min);
  EXPECT_EQ(again.rings, (std::vector<TimerWheel::Duration>{1s, 26600ms, 52200ms}));
}

TEST(TimerWheel, mayEndBeforeItsEntries) {
  Alarm alarm;
  {
    TimerWheel wheel(100ms, kWheelStart);
    wheel.schedule(alarm, kWheelStart + 1s);
  }
  EXPECT_FALSE(alarm.isScheduled());
}

}  // namespace
}  // namespace tevanto::relay
