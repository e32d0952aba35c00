// The engine's signaling thread on a loop of ours.

#include "platform/linux/webrtc/LibwebrtcSignaling.h"

#include <gtest/gtest.h>
#include <rtc_base/time_utils.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "core/queue/EventLoop.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::eventually;
using webrtc::TimeDelta;

/// 'R' for one that runs, 'S' for one that sleeps (proc_pid_stat(5)).
char stateOf(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  const std::string line(std::istreambuf_iterator<char>(file), {});
  return line.at(line.rfind(')') + 2);
}

class LibwebrtcSignalingTest : public testing::Test {
 protected:
  ~LibwebrtcSignalingTest() override {
    signaling_.reset();
    loop_->stop();
  }

  void run(const std::string& name) {
    done_ += name;
    ++count_;
  }
  void post(std::string name) {
    signaling_->post([this, name = std::move(name)] { run(name); });
  }
  void postLater(std::string name, std::chrono::milliseconds delay) {
    signaling_->thread().PostDelayedTask([this, name = std::move(name)] { run(name); },
                                         TimeDelta::Millis(delay.count()));
  }
  /// Returns once so many of these have run, without a word to the loop, which may wake it up.
  void awaitCount(std::size_t count) {
    EXPECT_TRUE(eventually([&] { return count_ >= count; }));
  }
  /// What has run so far, in its order.
  std::string done() {
    return signaling_->call([this] { return done_; });
  }
  /// Keeps the loop in a task of its own until the end of this.
  class HeldLoop {
   public:
    explicit HeldLoop(SerialQueue& queue) {
      std::promise<void> entered;
      queue.async([&entered, released = released_.get_future().share()] {
        entered.set_value();
        released.wait();
      });
      entered.get_future().wait();
    }
    ~HeldLoop() { released_.set_value(); }
    HeldLoop(const HeldLoop&) = delete;
    HeldLoop& operator=(const HeldLoop&) = delete;

   private:
    std::promise<void> released_;
  };

  const std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  const std::shared_ptr<SerialQueue> other_ = loop_->makeQueue("other");
  std::optional<LibwebrtcSignaling> signaling_{std::in_place, loop_->makeQueue("signaling")};
  std::string done_;  // the loop's
  std::atomic<std::size_t> count_ = 0;
};

TEST_F(LibwebrtcSignalingTest, isTheThreadOfItsLoop) {
  EXPECT_FALSE(signaling_->isCurrent());
  other_->sync([&] {
    EXPECT_TRUE(signaling_->isCurrent());
    EXPECT_EQ(rtc::Thread::Current(), &signaling_->thread());
    EXPECT_EQ(webrtc::TaskQueueBase::Current(), &signaling_->thread());
  });
}

TEST_F(LibwebrtcSignalingTest, beginsOnItsOwnLoopToo) {
  const auto loop = EventLoop::background(1);
  loop->makeQueue("first")->sync([&] {
    LibwebrtcSignaling signaling(loop->makeQueue("signaling"));
    EXPECT_TRUE(signaling.isCurrent());
  });
  loop->stop();
}

TEST_F(LibwebrtcSignalingTest, runsWhatIsPostedInItsOrder) {
  {
    const HeldLoop held(*other_);
    for (const auto* name : {"a", "b", "c"}) post(name);
  }
  EXPECT_EQ(done(), "abc");
}

TEST_F(LibwebrtcSignalingTest, runsWhatATaskPosts) {
  std::promise<void> last;
  signaling_->post([&] { signaling_->post([&] { last.set_value(); }); });
  last.get_future().wait();
}

TEST_F(LibwebrtcSignalingTest, runsWhatIsPostedForLaterWhenItIsDue) {
  postLater("much later", 1h);
  EXPECT_EQ(done(), "");  // the loop waits for that one
  postLater("a", 5ms);
  postLater("b", 40ms);
  postLater("c", 80ms);
  awaitCount(3);
  EXPECT_EQ(done(), "abc");
}

TEST_F(LibwebrtcSignalingTest, goesOnBehindATaskThatTakesLong) {
  {
    const HeldLoop held(*other_);
    // A turn lasts until the engine's clock has gone on.
    signaling_->post([] {
      for (const auto begin = rtc::TimeMillis(); rtc::TimeMillis() < begin + 2;) std::this_thread::yield();
    });
    post("a");
    post("b");
  }
  awaitCount(2);
  EXPECT_EQ(done(), "ab");
}

TEST_F(LibwebrtcSignalingTest, callsFromAnyThread) {
  EXPECT_EQ(signaling_->call([&] { return signaling_->isCurrent(); }), true);
  other_->sync([&] { EXPECT_EQ(signaling_->call([] { return 7; }), 7); });
}

TEST_F(LibwebrtcSignalingTest, dispatchesAtOnceOnItsThreadAndElseInTurn) {
  other_->sync([&] {
    post("b");
    signaling_->dispatch([&] { done_ += "a"; });
    EXPECT_EQ(done_, "a");
  });
  {
    const HeldLoop held(*other_);
    post("c");
    signaling_->dispatch([&] { done_ += "d"; });
  }
  EXPECT_EQ(done(), "abcd");
}

TEST_F(LibwebrtcSignalingTest, sleepsWhileAnotherThreadOfTheEngineWorks) {
  const auto network = rtc::Thread::Create();
  network->Start();
  other_->sync([&] {
    network->BlockingCall([&, waiting = ::gettid()] {
      post("meanwhile");
      postLater(" and later", 1ms);
      EXPECT_TRUE(eventually([&] { return stateOf(waiting) == 'S'; }));
    });
    EXPECT_EQ(done_, "");
  });
  awaitCount(2);
  EXPECT_EQ(done(), "meanwhile and later");
}

TEST_F(LibwebrtcSignalingTest, finishesWithWhatWasPostedAndGivesTheThreadBack) {
  for (const bool onTheLoop : {false, true}) {
    SCOPED_TRACE(onTheLoop);
    done_.clear();
    const auto finish = [&] {
      for (const auto* name : {"a", "b"}) post(name);
      signaling_->finish([&] { done_ += "."; });
    };
    if (onTheLoop) {
      other_->sync(finish);
    } else {
      finish();
    }
    EXPECT_EQ(done_, "ab.");
    other_->sync([] { EXPECT_EQ(rtc::Thread::Current(), nullptr); });
    signaling_.emplace(loop_->makeQueue("next"));
    EXPECT_EQ(signaling_->call([&] { return signaling_->isCurrent(); }), true);
  }
}

TEST_F(LibwebrtcSignalingTest, isNotWokenUpAfterItsEnd) {
  postLater("never", 1h);
  std::thread ending;
  {
    const HeldLoop held(*other_);
    post("a");  // whose turn comes before the end, which runs more than it
    ending = std::thread([&] { signaling_->finish([this] { post("after the last"); }); });
  }
  ending.join();
  signaling_.reset();
  other_->sync([] {});
  EXPECT_EQ(done_, "a");
}

TEST_F(LibwebrtcSignalingTest, finishesOnTheCallersThreadWhereTheLoopHasEnded) {
  loop_->stop();
  post("a");
  postLater("never", 1h);
  signaling_->finish([&] {
    EXPECT_EQ(rtc::Thread::Current(), &signaling_->thread());
    EXPECT_EQ(webrtc::TaskQueueBase::Current(), &signaling_->thread());
    done_ += ".";
  });
  EXPECT_EQ(done_, "a.");
  EXPECT_EQ(rtc::Thread::Current(), nullptr);
  EXPECT_EQ(webrtc::TaskQueueBase::Current(), nullptr);
}

}  // namespace
}  // namespace tevanto
