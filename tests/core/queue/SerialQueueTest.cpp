#include "core/queue/SerialQueue.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(Timer, isSilentAfterItWasDroppedOrReplaced) {
  test::ManualQueue queue("test");
  int first = 0;
  int second = 0;
  Timer timer = queue.asyncAfter(1s, [&] { ++first; });
  EXPECT_TRUE(timer);
  timer = queue.asyncAfter(2s, [&] { ++second; });
  {
    const Timer dropped = queue.asyncAfter(1s, [&] { ++first; });
  }
  queue.advance(5s);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
}

TEST(Timer, movesWithItsRightToCancel) {
  int cancelled = 0;
  {
    Timer timer([&] { ++cancelled; });
    Timer moved(std::move(timer));
    EXPECT_FALSE(timer);  // NOLINT(bugprone-use-after-move): a timer that was moved from is none
    EXPECT_TRUE(moved);
    timer.cancel();
    EXPECT_EQ(cancelled, 0);
    moved.cancel();
    moved.cancel();
    EXPECT_EQ(cancelled, 1);
  }
  EXPECT_EQ(cancelled, 1) << "once only";
}

TEST(Timer, staysSetAfterItFired) {
  test::ManualQueue queue("test");
  const Timer timer = queue.asyncAfter(1s, [] {});
  queue.advance(1s);
  EXPECT_TRUE(timer);
}

}  // namespace
}  // namespace tevanto
