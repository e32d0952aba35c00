#include "app/ui/QtMainQueue.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "core/queue/EventLoop.h"
#include "core/queue/Published.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

/// A real Qt loop on this thread: without a display, as the queue needs none.
class QtMainQueueTest : public ::testing::Test {
 protected:
  ~QtMainQueueTest() override {
    loop_->stop();
    queue_->stop();
  }

  /// Lets the loop turn until the condition holds; the deadline only decides how long a failure takes.
  template <class Condition>
  bool turnUntil(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) return false;
      QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
  }
  /// Lets everything run that is due.
  void turnOnce() {
    bool reached = false;
    queue_->async([&] { reached = true; });
    EXPECT_TRUE(turnUntil([&] { return reached; }));
  }

  char name_[5] = "test";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_};
  std::shared_ptr<QtMainQueue> queue_ = std::make_shared<QtMainQueue>("main");
  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> other_ = loop_->makeQueue("other");
  std::string log_;
};

TEST_F(QtMainQueueTest, runsWorkLaterAndInItsOrder) {
  queue_->async([this] { log_ += "a"; });
  queue_->dispatch([this] {
    log_ += "b";
    queue_->async([this] { log_ += "d"; });
    log_ += "c";
  });
  EXPECT_EQ(log_, "") << "never within the call";
  ASSERT_TRUE(turnUntil([this] { return log_.size() == 4; }));
  EXPECT_EQ(log_, "abcd");
}

TEST_F(QtMainQueueTest, everythingOnTheLoopsThreadIsOnTheQueue) {
  EXPECT_EQ(queue_->label(), "main");
  EXPECT_TRUE(queue_->isCurrent());
  std::optional<bool> elsewhere;
  other_->sync([&] { elsewhere = queue_->isCurrent(); });
  EXPECT_EQ(elsewhere, false);
}

TEST_F(QtMainQueueTest, takesWorkFromOtherThreadsInTheirOrder) {
  constexpr int kCount = 1000;
  std::atomic<int> ran = 0;
  bool inOrder = true;
  bool onMain = true;
  other_->async([&] {
    for (int i = 0; i < kCount; ++i) {
      queue_->async([&, i] {
        inOrder = inOrder && ran == i;
        onMain = onMain && queue_->isCurrent();
        ++ran;
      });
    }
  });
  ASSERT_TRUE(turnUntil([&] { return ran == kCount; }));
  EXPECT_TRUE(inOrder);
  EXPECT_TRUE(onMain);
}

TEST_F(QtMainQueueTest, syncFromAnotherThreadReturnsWhenTheWorkIsDone) {
  std::atomic<bool> returned = false;
  bool ran = false;
  other_->async([&] {
    queue_->sync([&] { ran = queue_->isCurrent(); });
    returned = true;
  });
  ASSERT_TRUE(turnUntil([&] { return returned.load(); }));
  EXPECT_TRUE(ran);
}

TEST_F(QtMainQueueTest, syncOnTheQueueItselfRunsAtOnce) {
  queue_->sync([this] { log_ += "a"; });
  EXPECT_EQ(log_, "a");
}

TEST_F(QtMainQueueTest, timersFireOnceAndInTheOrderOfTheirTimes) {
  const auto start = queue_->now();
  SerialQueue::TimePoint fired;
  const Timer later = queue_->asyncAfter(40ms, [&] {
    log_ += "b";
    fired = queue_->now();
  });
  const Timer sooner = queue_->asyncAfter(5ms, [this] { log_ += "a"; });
  ASSERT_TRUE(turnUntil([this] { return log_.size() == 2; }));
  EXPECT_EQ(log_, "ab");
  EXPECT_GE(fired - start, 40ms) << "never early";
  turnOnce();
  EXPECT_EQ(log_, "ab");
}

TEST_F(QtMainQueueTest, aTimerWithoutAWaitStillRunsLater) {
  const Timer timer = queue_->asyncAfter(-1s, [this] { log_ += "a"; });
  EXPECT_EQ(log_, "");
  EXPECT_TRUE(turnUntil([this] { return log_ == "a"; }));
}

TEST_F(QtMainQueueTest, aCancelledTimerIsSilent) {
  Timer timer = queue_->asyncAfter(1ms, [this] { log_ += "a"; });
  {
    const Timer dropped = queue_->asyncAfter(0ms, [this] { log_ += "b"; });
  }
  timer.cancel();
  const Timer after = queue_->asyncAfter(20ms, [this] { log_ += "c"; });
  ASSERT_TRUE(turnUntil([this] { return !log_.empty(); }));
  EXPECT_EQ(log_, "c");
}

TEST_F(QtMainQueueTest, aTimerMayCancelItselfAndSetTheNext) {
  Timer timer;
  timer = queue_->asyncAfter(1ms, [&] {
    log_ += "a";
    timer = queue_->asyncAfter(1ms, [this] { log_ += "b"; });
  });
  ASSERT_TRUE(turnUntil([this] { return log_.size() == 2; }));
  EXPECT_EQ(log_, "ab");
}

TEST_F(QtMainQueueTest, timersOfOtherThreadsFireHereAndCanBeCancelledThere) {
  Timer kept;
  other_->sync([&] {
    kept = queue_->asyncAfter(5ms, [this] { log_ += queue_->isCurrent() ? "m" : "?"; });
    Timer cancelled = queue_->asyncAfter(1ms, [this] { log_ += "x"; });
    cancelled.cancel();
  });
  ASSERT_TRUE(turnUntil([this] { return !log_.empty(); }));
  EXPECT_EQ(log_, "m");
}

TEST_F(QtMainQueueTest, aWaitBeyondQtsIntegersDoesNotEndEarly) {
  const Timer month = queue_->asyncAfter(std::chrono::hours(24 * 30), [this] { log_ += "early"; });
  const Timer soon = queue_->asyncAfter(5ms, [this] { log_ += "a"; });
  ASSERT_TRUE(turnUntil([this] { return !log_.empty(); }));
  EXPECT_EQ(log_, "a");
}

TEST_F(QtMainQueueTest, afterTheEndNothingRunsAndNobodyWaits) {
  std::atomic<bool> returned = false;
  other_->async([&] {
    queue_->sync([this] { log_ += "sync"; });
    returned = true;
  });
  queue_->async([this] { log_ += "pending"; });
  Timer timer = queue_->asyncAfter(0ms, [this] { log_ += "timer"; });
  queue_->stop();
  queue_->async([this] { log_ += "late"; });
  const Timer lateTimer = queue_->asyncAfter(0ms, [this] { log_ += "late timer"; });
  ASSERT_TRUE(turnUntil([&] { return returned.load(); }));
  other_->sync([&] { queue_->sync([this] { log_ += "late sync"; }); });
  timer.cancel();
  QCoreApplication::processEvents();
  EXPECT_EQ(log_, "");
}

TEST_F(QtMainQueueTest, workThatNeverRanMayOwnTimersOfTheQueue) {
  auto timer = std::make_shared<Timer>(queue_->asyncAfter(1h, [] {}));
  queue_->async([timer, queue = queue_] { timer->cancel(); });
  timer.reset();
  queue_->stop();
  EXPECT_EQ(queue_.use_count(), 1);
}

TEST_F(QtMainQueueTest, carriesPublishedValues) {
  Published<int> value(queue_, 0);
  int seen = 0;
  const auto subscription = value.observe([&](int now) { seen = queue_->isCurrent() ? now : -1; });
  other_->async([&] { value.set(7); });
  EXPECT_TRUE(turnUntil([&] { return seen != 0; }));
  EXPECT_EQ(seen, 7);
}

}  // namespace
}  // namespace tevanto
