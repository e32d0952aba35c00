#include "core/queue/EventLoop.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "core/queue/EventLoopCore.h"
#include "core/queue/SerialQueue.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(EventLoop, runsTheWorkOfAQueueInOrderAndOneAtATime) {
  auto loop = EventLoop::background(4);
  auto queue = loop->makeQueue("test");
  std::vector<int> seen;
  std::atomic<int> inside = 0;
  bool overlapped = false;
  for (int i = 0; i < 2000; ++i) {
    queue->async([&, i] {
      overlapped |= ++inside != 1;
      seen.push_back(i);
      --inside;
    });
  }
  queue->sync([] {});
  ASSERT_EQ(seen.size(), 2000u);
  for (int i = 0; i < 2000; ++i) EXPECT_EQ(seen[static_cast<std::size_t>(i)], i);
  EXPECT_FALSE(overlapped);
  EXPECT_EQ(queue->label(), "test");
}

TEST(EventLoop, twoQueuesRunAtTheSameTime) {
  auto loop = EventLoop::background(2);
  auto one = loop->makeQueue("one");
  auto two = loop->makeQueue("two");
  std::promise<void> fromOne, fromTwo;
  one->async([&] {
    fromOne.set_value();
    fromTwo.get_future().wait();
  });
  two->async([&] {
    fromOne.get_future().wait();
    fromTwo.set_value();
  });
  one->sync([] {});
  two->sync([] {});
}

TEST(EventLoop, asyncNeverRunsWithinTheCall) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  bool ran = false;
  bool ranWithin = true;
  queue->sync([&] {
    queue->async([&] { ran = true; });
    ranWithin = ran;
  });
  queue->sync([] {});
  EXPECT_FALSE(ranWithin);
  EXPECT_TRUE(ran);
}

TEST(EventLoop, syncOnTheOwnQueueRunsAtOnce) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  bool inner = false;
  queue->sync([&] { queue->sync([&] { inner = queue->isCurrent(); }); });
  EXPECT_TRUE(inner);
  EXPECT_FALSE(queue->isCurrent());
}

TEST(EventLoop, syncReturnsWithoutRunningOnceTheLoopHasStopped) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  loop->stop();
  bool ran = false;
  queue->sync([&] { ran = true; });
  EXPECT_FALSE(ran);
}

TEST(EventLoop, syncThatWaitsForItsTurnReturnsWhenTheLoopStops) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  std::promise<void> busy, release;
  queue->async([&] {
    busy.set_value();
    release.get_future().wait();
  });
  busy.get_future().wait();
  bool ran = false;
  std::thread waiting([&] { queue->sync([&] { ran = true; }); });
  std::thread stopping([&] { loop->stop(); });
  waiting.join();  // ends only because the loop is being stopped: the piece before it is still running
  release.set_value();
  stopping.join();
  EXPECT_FALSE(ran);
}

TEST(EventLoop, dispatchOnTheSameLoopRunsAtOnceUnlessSomethingWaitsInFront) {
  auto loop = EventLoop::background(1);
  auto network = loop->makeQueue("network");
  auto main = loop->makeQueue("main");
  std::vector<int> seen;
  network->sync([&] {
    main->dispatch([&] { seen.push_back(1); });
    seen.push_back(2);
    main->async([&] { seen.push_back(3); });
    main->dispatch([&] { seen.push_back(4); });
    seen.push_back(5);
  });
  main->sync([] {});
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 5, 3, 4}));
}

TEST(EventLoop, aCancelledTimerNeverFires) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  bool fired = false;
  std::promise<void> later;
  Timer last;
  queue->sync([&] {
    auto cancelled = queue->asyncAfter(1ms, [&] { fired = true; });
    cancelled.cancel();
    last = queue->asyncAfter(20ms, [&] { later.set_value(); });
  });
  later.get_future().wait();
  EXPECT_FALSE(fired);
}

TEST(EventLoop, timersFireInTheOrderOfTheirTimes) {
  auto loop = EventLoop::background(2);
  auto queue = loop->makeQueue("test");
  std::vector<int> seen;
  std::promise<void> done;
  std::vector<Timer> timers;
  queue->sync([&] {
    timers.push_back(queue->asyncAfter(30ms, [&] {
      seen.push_back(3);
      done.set_value();
    }));
    timers.push_back(queue->asyncAfter(10ms, [&] { seen.push_back(2); }));
    timers.push_back(queue->asyncAfter(-5ms, [&] { seen.push_back(1); }));
  });
  done.get_future().wait();
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
}

TEST(EventLoop, aTimerCancelledAfterItsQueueIsGoneNeverFires) {
  auto loop = EventLoop::forCallingThread();
  auto queue = loop->makeQueue("goes");
  auto other = loop->makeQueue("stays");
  bool fired = false;
  Timer timer = queue->asyncAfter(1ms, [&] { fired = true; });
  queue.reset();
  timer.cancel();
  const Timer end = other->asyncAfter(20ms, [&] { loop->stop(); });
  loop->run();
  EXPECT_FALSE(fired);
}

TEST(EventLoop, timersMayBeCancelledByAnyThread) {
  auto loop = EventLoop::background(2);
  auto queue = loop->makeQueue("test");
  std::atomic<int> fired = 0;
  for (int i = 0; i < 300; ++i) {
    Timer timer = queue->asyncAfter(std::chrono::microseconds(i % 7), [&] { ++fired; });
    if (i % 2 == 0) std::this_thread::yield();
    timer.cancel();
  }
  queue->sync([] {});
  EXPECT_LE(fired, 300);
}

TEST(EventLoop, aCancelledTimerLetsGoOfWhatItHeld) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  const auto held = std::make_shared<int>(1);
  queue->sync([&] {
    auto timer = queue->asyncAfter(1h, [held] {});
    EXPECT_EQ(held.use_count(), 2);
    timer.cancel();
  });
  // The loop frees it in a turn of its own.
  EXPECT_TRUE(test::eventually([&] { return held.use_count() == 1; }));
}

TEST(EventLoop, theCallersLoopRunsUntilStopped) {
  auto loop = EventLoop::forCallingThread();
  auto queue = loop->makeQueue("main");
  int ran = 0;
  queue->async([&] {
    ++ran;
    loop->stop();
  });
  loop->run();
  EXPECT_EQ(ran, 1);
}

TEST(EventLoop, theCallersLoopTakesWorkFromOtherThreads) {
  auto loop = EventLoop::forCallingThread();
  auto queue = loop->makeQueue("main");
  std::thread::id ranOn;
  std::thread other([&] {
    queue->sync([&] { ranOn = std::this_thread::get_id(); });
    loop->stop();
  });
  loop->run();
  other.join();
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(EventLoop, freesTheWorkThatNeverRanEvenWhenItOwnsItsQueue) {
  auto loop = EventLoop::forCallingThread();
  auto queue = loop->makeQueue("main");
  const auto held = std::make_shared<int>(1);
  queue->async([queue, held] {});
  auto timer = std::make_shared<Timer>();
  *timer = queue->asyncAfter(1h, [queue, held, timer] {});
  timer.reset();
  const std::weak_ptr<SerialQueue> gone = queue;
  const std::weak_ptr<EventLoop::Core> core = loop->core();
  queue.reset();
  EXPECT_EQ(held.use_count(), 3);
  loop.reset();
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_TRUE(gone.expired());
  EXPECT_TRUE(core.expired());
}

TEST(EventLoop, aQueueMayOutliveItsLoop) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  loop.reset();
  bool ran = false;
  queue->async([&] { ran = true; });
  Timer timer = queue->asyncAfter(0ms, [&] { ran = true; });
  timer.cancel();
  EXPECT_FALSE(queue->isCurrent());
  queue.reset();
  EXPECT_FALSE(ran);
}

TEST(EventLoop, mayBeStoppedTwiceAndFromSeveralThreads) {
  auto loop = EventLoop::background(2);
  loop->makeQueue("test")->sync([] {});
  std::thread other([&] { loop->stop(); });
  loop->stop();
  other.join();
  loop->stop();
}

TEST(EventLoop, reportsEachSignalOfTheProcess) {
  auto loop = EventLoop::forCallingThread();
  std::vector<int> seen;
  loop->onSignals({SIGUSR1, SIGUSR2}, [&](int signal) {
    seen.push_back(signal);
    if (seen.size() == 1) ::kill(::getpid(), SIGUSR2);
    if (seen.size() == 2) ::kill(::getpid(), SIGUSR1);
    if (seen.size() == 3) loop->stop();
  });
  ::kill(::getpid(), SIGUSR1);
  loop->run();
  EXPECT_EQ(seen, (std::vector<int>{SIGUSR1, SIGUSR2, SIGUSR1}));
}

}  // namespace
}  // namespace tevanto
