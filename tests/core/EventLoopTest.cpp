#include "core/EventLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <vector>

#include "core/SerialQueue.h"
#include "tests/support/ManualQueue.h"

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
}

TEST(EventLoop, syncOnTheOwnQueueRunsAtOnce) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("test");
  bool inner = false;
  queue->sync([&] { queue->sync([&] { inner = queue->isCurrent(); }); });
  EXPECT_TRUE(inner);
  EXPECT_FALSE(queue->isCurrent());
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

TEST(ManualQueue, runsTimersAtTheirVirtualTimeInOrder) {
  test::ManualQueue queue("test");
  std::vector<int> seen;
  auto late = queue.asyncAfter(3s, [&] { seen.push_back(3); });
  auto early = queue.asyncAfter(1s, [&] { seen.push_back(1); });
  auto dropped = queue.asyncAfter(2s, [&] { seen.push_back(2); });
  dropped.cancel();
  queue.advance(2500ms);
  EXPECT_EQ(seen, std::vector<int>{1});
  queue.advance(1s);
  EXPECT_EQ(seen, (std::vector<int>{1, 3}));
}

}  // namespace
}  // namespace tevanto
