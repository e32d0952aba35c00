#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <utility>

#include "core/queue/Task.h"

namespace tevanto {

/// Timer holds a timer that has been set on a queue. A timer that is destroyed or cancelled before it fired
/// never fires. Cancel it on its own queue, or after the queue has stopped: on another thread it may be
/// firing already.
class Timer {
 public:
  Timer() = default;
  explicit Timer(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Timer(Timer&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Timer& operator=(Timer&& other) noexcept {
    if (this != &other) {
      cancel();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  ~Timer() { cancel(); }

  void cancel() {
    if (auto cancelOnce = std::exchange(cancel_, nullptr)) cancelOnce();
  }
  /// True when a timer was set here and not cancelled since. It stays true after the timer fired.
  explicit operator bool() const { return cancel_ != nullptr; }

 private:
  std::function<void()> cancel_;
};

/// SerialQueue runs the work given to it one piece at a time, in the order in which it was given. Every
/// stateful object of the program lives on one such queue; every wait is a timer of one.
/// Thread-safe.
class SerialQueue {
 public:
  using Duration = std::chrono::steady_clock::duration;
  using TimePoint = std::chrono::steady_clock::time_point;

  explicit SerialQueue(std::string label) : label_(std::move(label)) {}
  virtual ~SerialQueue() = default;
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Runs `work` later, never before this call returns.
  virtual void async(Task work) = 0;
  /// Like `async`, but the work may be done before this call returns, where the caller already runs on this
  /// queue's loop and nothing waits in front. For the hot path, which then pays for no turn of the loop in
  /// between.
  virtual void dispatch(Task work) { async(std::move(work)); }
  /// Runs `work` once, `delay` from now (at once when not positive). Dropping the returned timer cancels it.
  [[nodiscard]] virtual Timer asyncAfter(Duration delay, Task work) = 0;
  /// Runs `work` on this queue and returns when it is done; at once when already on this queue. Returns
  /// without having run it when what runs the queue has been stopped, or stops before its turn comes.
  virtual void sync(Task work) = 0;
  /// True when the caller runs on this queue.
  virtual bool isCurrent() const = 0;
  /// The monotonic time by which this queue's timers run.
  virtual TimePoint now() const = 0;

  const std::string& label() const { return label_; }

 private:
  std::string label_;
};

}  // namespace tevanto
