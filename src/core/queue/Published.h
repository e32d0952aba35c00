#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// Subscription keeps an observer called for as long as it is held. Drop it on the main queue.
using Subscription = std::shared_ptr<void>;

/// Published holds a value that its owner sets and that others observe. Observers are called on the main
/// queue, after changes only, each time with the value that was set.
/// Thread-safe; observers live on the main queue.
template <class T>
class Published {
 public:
  Published(std::shared_ptr<SerialQueue> mainQueue, T initial)
      : state_(std::make_shared<State>(std::move(mainQueue), std::move(initial))) {}

  Published(const Published&) = delete;
  Published& operator=(const Published&) = delete;

  T get() const {
    const std::lock_guard lock(state_->mutex);
    return state_->value;
  }

  void set(T value) {
    {
      const std::lock_guard lock(state_->mutex);
      if (state_->value == value) return;
      state_->value = value;
    }
    state_->mainQueue->async([state = state_, value = std::move(value)] { state->notify(value); });
  }

  /// Calls `observer` on the main queue after each change for as long as the subscription is held.
  [[nodiscard]] Subscription observe(std::function<void(const T&)> observer) {
    auto entry = std::make_shared<std::function<void(const T&)>>(std::move(observer));
    const std::lock_guard lock(state_->mutex);
    std::erase_if(state_->observers, [](const auto& weak) { return weak.expired(); });
    state_->observers.push_back(entry);
    return entry;
  }

 private:
  struct State {
    State(std::shared_ptr<SerialQueue> queue, T initial)
        : mainQueue(std::move(queue)), value(std::move(initial)) {}

    void notify(const T& changed) {
      std::vector<std::weak_ptr<std::function<void(const T&)>>> current;
      {
        const std::lock_guard lock(mutex);
        current = observers;
      }
      for (const auto& weak : current) {
        if (const auto observer = weak.lock()) (*observer)(changed);
      }
    }

    const std::shared_ptr<SerialQueue> mainQueue;
    std::mutex mutex;
    T value;
    std::vector<std::weak_ptr<std::function<void(const T&)>>> observers;
  };

  std::shared_ptr<State> state_;
};

}  // namespace tevanto
