#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace tevanto {

/// CallbackGuard lets one thread wait until a callback that another thread is making has returned. No lock is
/// held during the callback.
///
///     calling thread   Call{ callback .............. }            Call{ callback }: sees the change
///     other thread             change what it reads, quiesce ─────> returns here
///
/// First change what the callbacks read (an observer, a "closed" flag), then `quiesce`. Each callback that
/// began before the change has then returned, and each later one sees the change.
/// One thread makes all callbacks, each inside a `Call`; a `Call` may contain others. `quiesce` is
/// thread-safe.
class CallbackGuard {
 public:
  /// Call marks the time of one callback, from its construction to its destruction.
  class Call {
   public:
    explicit Call(CallbackGuard& gate) : gate_(gate) { gate_.enter(); }
    ~Call() { gate_.leave(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    CallbackGuard& gate_;
  };

  /// Waits for the running callback. Returns at once inside of one, which would wait for itself. The caller
  /// holds no lock that a callback might take.
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
