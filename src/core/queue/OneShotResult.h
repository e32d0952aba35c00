#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace tevanto {

/// OneShotResult is a slot for one value that other threads produce. The first `set` wins; `waitFor` blocks
/// until then. Producers share ownership, so that a late `set` is safe.
/// Thread-safe.
template <class Value>
class OneShotResult {
 public:
  void set(Value value) {
    const std::lock_guard lock(mutex_);
    if (!value_) value_ = std::move(value);
    changed_.notify_all();
  }

  /// The value; absent when none came until `end`.
  std::optional<Value> waitUntil(std::chrono::steady_clock::time_point end) {
    std::unique_lock lock(mutex_);
    changed_.wait_until(lock, end, [this] { return value_.has_value(); });
    return value_;
  }
  std::optional<Value> waitFor(std::chrono::milliseconds timeout) {
    return waitUntil(std::chrono::steady_clock::now() + timeout);
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<Value> value_;
};

}  // namespace tevanto
