#include "core/queue/QueueBound.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

class Counter : public QueueBound<Counter> {
 public:
  Counter(std::shared_ptr<SerialQueue> queue, std::vector<std::string>& said)
      : QueueBound(std::move(queue)), said_(said) {}

  void note(const std::string& what) {
    assertOnQueue();
    said_.push_back(what);
  }
  void notePair(const std::string& what, int number) { note(what + std::to_string(number)); }
  int length(const std::string& what) { return static_cast<int>(what.size()); }
  void noteLater(const std::string& what) {
    post([what](Counter& self) { self.note(what); });
  }
  auto callOnQueue() { return weakCall(&Counter::note); }
  auto lengthOnQueue() { return weakCall(&Counter::length); }
  auto callFromAnywhere() { return weakPost(&Counter::note); }
  auto pairFromAnywhere() { return weakPost(&Counter::notePair); }

 private:
  std::vector<std::string>& said_;
};

class QueueBoundTest : public ::testing::Test {
 protected:
  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("counter");
  std::vector<std::string> said_;
  std::shared_ptr<Counter> counter_ = std::make_shared<Counter>(queue_, said_);
};

TEST_F(QueueBoundTest, postsWorkToItsQueue) {
  counter_->noteLater("a");
  EXPECT_TRUE(said_.empty());
  queue_->runPending();
  EXPECT_EQ(said_, (std::vector<std::string>{"a"}));
}

TEST_F(QueueBoundTest, dropsPostedWorkOnceItIsGone) {
  counter_->noteLater("a");
  counter_.reset();
  queue_->runPending();
  EXPECT_TRUE(said_.empty());
}

TEST_F(QueueBoundTest, callsAtOnceWhereTheCallerIsOnTheQueue) {
  auto call = counter_->callOnQueue();
  queue_->async([&] {
    call("a");
    EXPECT_EQ(said_.size(), 1U);
  });
  queue_->runPending();
  counter_.reset();
  call("b");
  EXPECT_EQ(said_, (std::vector<std::string>{"a"}));
}

TEST_F(QueueBoundTest, aCallForAValueGivesTheDefaultOnceItIsGone) {
  auto length = counter_->lengthOnQueue();
  EXPECT_EQ(length("four"), 4);
  counter_.reset();
  EXPECT_EQ(length("four"), 0);
}

TEST_F(QueueBoundTest, takesCallsFromAnywhereToItsQueue) {
  auto call = counter_->callFromAnywhere();
  call("a");
  EXPECT_TRUE(said_.empty());
  queue_->runPending();
  EXPECT_EQ(said_, (std::vector<std::string>{"a"}));
  call("b");
  counter_.reset();
  queue_->runPending();
  EXPECT_EQ(said_.size(), 1U);
}

TEST_F(QueueBoundTest, takesAllArgumentsInTheOrderOfTheCalls) {
  auto call = counter_->pairFromAnywhere();
  call("a", 1);
  call("b", 2);
  EXPECT_TRUE(said_.empty());
  queue_->runPending();
  EXPECT_EQ(said_, (std::vector<std::string>{"a1", "b2"}));
}

TEST_F(QueueBoundTest, aCallDoesNotKeepItAlive) {
  const auto call = counter_->callOnQueue();
  const auto posted = counter_->callFromAnywhere();
  EXPECT_EQ(counter_.use_count(), 1);
}

#ifndef NDEBUG
TEST_F(QueueBoundTest, endsTheProgramWhenCalledOffItsQueue) {
  EXPECT_DEATH(counter_->note("off"), "runs on its own queue only");
}
#endif

}  // namespace
}  // namespace tevanto
