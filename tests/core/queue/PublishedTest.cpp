#include "core/queue/Published.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/queue/EventLoop.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

class PublishedValue : public ::testing::Test {
 protected:
  std::shared_ptr<test::ManualQueue> main_ = std::make_shared<test::ManualQueue>("main");
  Published<std::string> text_{main_, "starting"};
  std::vector<std::string> heard_;
};

TEST_F(PublishedValue, isReadAtOnceAndObservedOnTheMainQueue) {
  bool onMain = false;
  const auto subscription = text_.observe([&](const std::string& value) {
    heard_.push_back(value);
    onMain = main_->isCurrent();
  });
  EXPECT_EQ(text_.get(), "starting");
  text_.set("ready");
  EXPECT_EQ(text_.get(), "ready");
  EXPECT_TRUE(heard_.empty()) << "observers never run inside set";
  main_->runPending();
  EXPECT_EQ(heard_, std::vector<std::string>{"ready"});
  EXPECT_TRUE(onMain);
}

TEST_F(PublishedValue, tellsEachChangeInOrderAndOnlyChanges) {
  const auto subscription = text_.observe([&](const auto& value) { heard_.push_back(value); });
  text_.set("starting");
  text_.set("a");
  text_.set("a");
  text_.set("b");
  text_.set("a");
  main_->runPending();
  EXPECT_EQ(heard_, (std::vector<std::string>{"a", "b", "a"}));
}

TEST_F(PublishedValue, saysNothingOnceTheSubscriptionIsDropped) {
  auto subscription = text_.observe([&](const auto& value) { heard_.push_back(value); });
  text_.set("a");
  subscription.reset();
  main_->runPending();
  EXPECT_TRUE(heard_.empty());
}

TEST_F(PublishedValue, anObserverMayDropItselfAndSetAgain) {
  Subscription subscription;
  subscription = text_.observe([&](const std::string& value) {
    heard_.push_back(value);
    if (value == "b") subscription.reset();
    if (value == "a") text_.set("b");
    if (heard_.size() == 2) text_.set("c");
  });
  text_.set("a");
  main_->runPending();
  EXPECT_EQ(heard_, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(text_.get(), "c");
}

TEST_F(PublishedValue, deliversWhatWasSetBeforeItWasGone) {
  auto published = std::make_unique<Published<int>>(main_, 0);
  int heard = 0;
  const auto subscription = published->observe([&](int value) { heard = value; });
  published->set(4);
  published.reset();
  main_->runPending();
  EXPECT_EQ(heard, 4);
}

TEST(Published, isReadByAnyThreadWhileItsOwnerSetsIt) {
  auto loop = EventLoop::background(2);
  const auto main = loop->makeQueue("main");
  Published<std::string> text(main, "0");
  std::atomic<int> heard = 0;
  const auto subscription = text.observe([&](const std::string&) { ++heard; });
  std::atomic<bool> done = false;
  std::thread reader([&] {
    while (!done) EXPECT_FALSE(text.get().empty());
  });
  for (int i = 1; i <= 500; ++i) text.set(std::to_string(i));
  done = true;
  reader.join();
  EXPECT_EQ(text.get(), "500");
  main->sync([] {});
  EXPECT_EQ(heard, 500);
}

}  // namespace
}  // namespace tevanto
