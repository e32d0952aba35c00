#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace tevanto {

/// Waits on one thread for what others say: the first value counts. Held by all of them, so that who comes
/// late finds something to talk to.
template <class Value>
class OneShotResult {
 public:
  void say(Value value) {
    const std::lock_guard lock(mutex_);
    if (!value_) value_ = std::move(value);
    said_.notify_all();
  }

  /// Nothing when nobody has said anything until `end`.
  std::optional<Value> waitUntil(std::chrono::steady_clock::time_point end) {
    std::unique_lock lock(mutex_);
    said_.wait_until(lock, end, [this] { return value_.has_value(); });
    return value_;
  }
  std::optional<Value> waitFor(std::chrono::milliseconds timeout) {
    return waitUntil(std::chrono::steady_clock::now() + timeout);
  }

 private:
  std::mutex mutex_;
  std::condition_variable said_;
  std::optional<Value> value_;
};

}  // namespace tevanto
