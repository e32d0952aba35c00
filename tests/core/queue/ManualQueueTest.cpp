#include "tests/support/fakes/ManualQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using Order = std::vector<int>;

TEST(ManualQueue, runsTimersAtTheirVirtualTimeInOrder) {
  test::ManualQueue queue("test");
  Order seen;
  auto late = queue.asyncAfter(3s, [&] { seen.push_back(3); });
  auto early = queue.asyncAfter(1s, [&] { seen.push_back(1); });
  auto dropped = queue.asyncAfter(2s, [&] { seen.push_back(2); });
  dropped.cancel();
  queue.advance(2500ms);
  EXPECT_EQ(seen, Order{1});
  queue.advance(1s);
  EXPECT_EQ(seen, (Order{1, 3}));
}

TEST(ManualQueue, runsNothingBeforeItIsTold) {
  test::ManualQueue queue("test");
  int ran = 0;
  queue.async([&] { ++ran; });
  auto timer = queue.asyncAfter(-1s, [&] { ++ran; });
  EXPECT_EQ(ran, 0);
  EXPECT_EQ(queue.pendingCount(), 2u);
  queue.runPending();
  EXPECT_EQ(ran, 2);
  EXPECT_EQ(queue.pendingCount(), 0u);
}

TEST(ManualQueue, showsEachPieceOfWorkItsOwnTime) {
  test::ManualQueue queue("test");
  const auto start = queue.now();
  std::vector<std::chrono::nanoseconds> at;
  auto first = queue.asyncAfter(2s, [&] {
    at.push_back(queue.now() - start);
    queue.async([&] { at.push_back(queue.now() - start); });
  });
  auto second = queue.asyncAfter(5s, [&] { at.push_back(queue.now() - start); });
  queue.advance(10s);
  EXPECT_EQ(at, (std::vector<std::chrono::nanoseconds>{2s, 2s, 5s}));
  EXPECT_EQ(queue.now() - start, 10s);
}

TEST(ManualQueue, includesWhatBecomesDueWhileTimePasses) {
  test::ManualQueue queue("test");
  Order seen;
  Timer inner;
  auto outer = queue.asyncAfter(1s, [&] {
    seen.push_back(1);
    inner = queue.asyncAfter(1s, [&] { seen.push_back(2); });
  });
  queue.advance(2s);
  EXPECT_EQ(seen, (Order{1, 2}));
}

TEST(ManualQueue, queuesOfOneClockRunInTheOrderOfTheirTimes) {
  const auto clock = std::make_shared<test::ManualClock>();
  test::ManualQueue one("one", clock), two("two", clock);
  Order seen;
  auto b = two.asyncAfter(1s, [&] {
    seen.push_back(2);
    EXPECT_TRUE(two.isCurrent());
    EXPECT_FALSE(one.isCurrent());
  });
  auto a = one.asyncAfter(2s, [&] { seen.push_back(1); });
  one.advance(3s);
  EXPECT_EQ(seen, (Order{2, 1}));
}

TEST(ManualQueue, syncRunsWhatWaitedBeforeAndNestsAtOnce) {
  test::ManualQueue queue("test");
  Order seen;
  queue.async([&] { seen.push_back(1); });
  queue.sync([&] {
    seen.push_back(2);
    queue.sync([&] { seen.push_back(3); });
  });
  EXPECT_EQ(seen, (Order{1, 2, 3}));
  EXPECT_FALSE(queue.isCurrent());
}

TEST(ManualQueue, takesItsWorkWithItWhenItGoes) {
  const auto clock = std::make_shared<test::ManualClock>();
  test::ManualQueue stays("stays", clock);
  int ran = 0;
  {
    test::ManualQueue goes("goes", clock);
    goes.async([&] { ++ran; });
  }
  stays.runPending();
  EXPECT_EQ(ran, 0);
}

}  // namespace
}  // namespace tevanto
