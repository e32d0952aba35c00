#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "core/queue/SerialQueue.h"

namespace tevanto::test {

/// A serial queue with virtual time: work runs when the test says so, on the test's thread. Queues made with
/// the same clock share its time; `advance` on one of them then runs the timers of all of them in order.
class ManualClock {
 public:
  SerialQueue::TimePoint now() const { return now_; }

 private:
  friend class ManualQueue;
  struct Entry {
    SerialQueue::TimePoint due;
    std::uint64_t order = 0;
    class ManualQueue* queue = nullptr;
    Task work;
    std::shared_ptr<bool> cancelled;
  };
  SerialQueue::TimePoint now_{std::chrono::hours(1)};
  std::uint64_t nextOrder_ = 0;
  std::vector<Entry> entries_;
};

class ManualQueue final : public SerialQueue {
 public:
  explicit ManualQueue(std::string label,
                       std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>())
      : SerialQueue(std::move(label)), clock_(std::move(clock)) {}
  ~ManualQueue() override {
    std::erase_if(clock_->entries_, [this](const auto& entry) { return entry.queue == this; });
  }

  void async(Task work) override { add(Duration::zero(), std::move(work), nullptr); }

  [[nodiscard]] Timer asyncAfter(Duration delay, Task work) override {
    auto cancelled = std::make_shared<bool>(false);
    add(std::max(delay, Duration::zero()), std::move(work), cancelled);
    return Timer([cancelled] { *cancelled = true; });
  }

  void sync(Task work) override {
    if (!isCurrent()) runPending();
    const auto* before = std::exchange(current_, this);
    work();
    current_ = before;
  }

  bool isCurrent() const override { return current_ == this; }
  TimePoint now() const override { return clock_->now_; }

  /// Runs what is due now, on all queues of the clock, until nothing is.
  void runPending() { advance(Duration::zero()); }

  /// Lets `duration` pass, running each piece of work at its own time.
  void advance(Duration duration) {
    const auto end = clock_->now_ + duration;
    while (true) {
      auto& entries = clock_->entries_;
      std::erase_if(entries, [](const auto& entry) { return entry.cancelled && *entry.cancelled; });
      const auto next = std::min_element(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return std::tuple(a.queue->busy_, a.due, a.order) < std::tuple(b.queue->busy_, b.due, b.order);
      });
      if (next == entries.end() || next->queue->busy_ || next->due > end) break;
      auto entry = std::move(*next);
      entries.erase(next);
      clock_->now_ = std::max(clock_->now_, entry.due);
      const auto* before = std::exchange(current_, entry.queue);
      entry.queue->busy_ = true;
      entry.work();
      entry.queue->busy_ = false;
      current_ = before;
    }
    clock_->now_ = end;
  }

  /// How many timers and pieces of work wait on this queue.
  std::size_t pendingCount() const {
    return static_cast<std::size_t>(
        std::count_if(clock_->entries_.begin(), clock_->entries_.end(),
                      [&](const auto& e) { return e.queue == this && !(e.cancelled && *e.cancelled); }));
  }

 private:
  void add(Duration delay, Task work, std::shared_ptr<bool> cancelled) {
    clock_->entries_.push_back(
        {clock_->now_ + delay, clock_->nextOrder_++, this, std::move(work), std::move(cancelled)});
  }

  static inline thread_local const ManualQueue* current_ = nullptr;
  bool busy_ = false;  // in the middle of a piece of work: nothing else of this queue runs, not even nested
  std::shared_ptr<ManualClock> clock_;
};

}  // namespace tevanto::test
