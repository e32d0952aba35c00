#include "core/queue/CallbackGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <thread>

namespace tevanto {
namespace {

TEST(CallbackGuard, returnsAtOnceWhenNoCallRuns) {
  CallbackGuard gate;
  gate.quiesce();
  { const CallbackGuard::Call call(gate); }
  gate.quiesce();
}

TEST(CallbackGuard, doesNotWaitForTheCallThatItIsMadeIn) {
  CallbackGuard gate;
  const CallbackGuard::Call outer(gate);
  gate.quiesce();
  {
    const CallbackGuard::Call inner(gate);
    gate.quiesce();
  }
  gate.quiesce();
}

TEST(CallbackGuard, waitsForTheCallOfAnotherThread) {
  CallbackGuard gate;
  std::promise<void> entered;
  std::atomic<bool> leaving = false;
  std::promise<void> release;
  std::thread caller([&, released = release.get_future().share()] {
    const CallbackGuard::Call outer(gate);
    { const CallbackGuard::Call inner(gate); }
    entered.set_value();
    released.wait();
    leaving = true;
  });
  entered.get_future().wait();
  auto waited = std::async(std::launch::async, [&] {
    gate.quiesce();
    return leaving.load();
  });
  release.set_value();
  EXPECT_TRUE(waited.get());
  caller.join();
}

// The flag is what an observer or "closed" is: nothing that began before the change may touch what goes with
// it.
TEST(CallbackGuard, letsGoOfWhatTheCallsUsed) {
  for (int round = 0; round < 200; ++round) {
    CallbackGuard gate;
    std::atomic<bool> isShut = false;
    std::atomic<bool> stop = false;
    auto used = std::make_unique<int>(0);
    std::thread caller([&] {
      while (!stop) {
        const CallbackGuard::Call call(gate);
        if (!isShut) ++*used;
      }
    });
    isShut = true;
    gate.quiesce();
    used.reset();
    stop = true;
    caller.join();
  }
}

}  // namespace
}  // namespace tevanto
