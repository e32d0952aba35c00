#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace tevanto {

/// Lets one thread wait until a call that another one is making has come back, without a lock that is held
/// during the call. The calls are made by a single thread, each inside a `Call`; a call may contain others.
///
/// First change what the calls look at (an observer, a "closed" flag), then `quiesce`: whatever began before
/// the change has ended, whatever begins later sees it.
class CallbackGuard {
 public:
  class Call {
   public:
    explicit Call(CallbackGuard& gate) : gate_(gate) { gate_.enter(); }
    ~Call() { gate_.leave(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    CallbackGuard& gate_;
  };

  /// Waits for the running call; not when this is made inside of it, which would wait for itself. Whoever
  /// calls this holds nothing that a call might want.
  void quiesce();

 private:
  void enter();
  void leave();

  std::mutex mutex_;
  std::condition_variable left_;
  int depth_ = 0;
  std::thread::id caller_;
  std::uint64_t finished_ = 0;
};

}  // namespace tevanto
