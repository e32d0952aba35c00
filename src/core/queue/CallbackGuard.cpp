#include "core/queue/CallbackGuard.h"

namespace tevanto {

void CallbackGuard::quiesce() {
  std::unique_lock lock(mutex_);
  if (depth_ == 0 || caller_ == std::this_thread::get_id()) return;
  // Not "until nobody is inside": a busy caller may be inside again before this thread wakes up.
  const auto running = finished_;
  left_.wait(lock, [&] { return finished_ != running; });
}

void CallbackGuard::enter() {
  const std::lock_guard lock(mutex_);
  if (depth_++ == 0) caller_ = std::this_thread::get_id();
}

void CallbackGuard::leave() {
  const std::lock_guard lock(mutex_);
  if (--depth_ > 0) return;
  ++finished_;
  // Under the lock: who waits may be about to destroy this.
  left_.notify_all();
}

}  // namespace tevanto
