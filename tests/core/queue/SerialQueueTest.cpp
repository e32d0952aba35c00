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

class Owner : public std::enable_shared_from_this<Owner> {
 public:
  explicit Owner(std::string& log) : log_(log) {}
  void note(const std::string& what, int count) { log_ += what + std::to_string(count) + ";"; }

 private:
  std::string& log_;
};

class WeaklyTest : public ::testing::Test {
 protected:
  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("test");
  std::string log_;
  std::shared_ptr<Owner> owner_ = std::make_shared<Owner>(log_);
};

TEST_F(WeaklyTest, hopsToTheQueueWithTheArguments) {
  const auto closure = weakly(owner_, queue_, &Owner::note);
  closure(std::string("a"), 1);
  EXPECT_EQ(log_, "") << "never within the call";
  closure(std::string("b"), 2);
  queue_->runPending();
  EXPECT_EQ(log_, "a1;b2;");
}

TEST_F(WeaklyTest, doesNothingOnceTheOwnerIsGone) {
  const auto closure = weakly(owner_, queue_, [](Owner& owner, int n) { owner.note("n", n); });
  closure(1);
  owner_.reset();
  closure(2);
  queue_->runPending();
  EXPECT_EQ(log_, "");
}

TEST_F(WeaklyTest, doesNotKeepTheOwner) {
  const auto closure = weakly(owner_, queue_, &Owner::note);
  closure(std::string("a"), 1);
  EXPECT_EQ(owner_.use_count(), 1);
}

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
