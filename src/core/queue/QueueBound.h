#pragma once

#include <cassert>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// Wraps `work` for a caller that is on the right queue already: invoked with the owner and the arguments, at
/// once. Does nothing, and returns a default value, once the owner is gone.
template <class Owner, class Work>
auto weakCall(std::weak_ptr<Owner> owner, Work work) {
  return [owner = std::move(owner), work = std::move(work)](auto&&... arguments) mutable {
    using Value = std::invoke_result_t<Work&, Owner&, decltype(arguments)...>;
    if (const auto alive = owner.lock()) {
      return std::invoke(work, *alive, std::forward<decltype(arguments)>(arguments)...);
    }
    if constexpr (!std::is_void_v<Value>) return Value();
  };
}

/// QueueBound is the base of an object that lives on one serial queue and that asynchronous work returns to.
/// Every closure that it makes holds the object weakly and does nothing once the object is gone.
///
///     class Server : public QueueBound<Server> {
///       void start() { post(&Server::startNow); }                    // from any thread, later, on the queue
///       timer_ = queue()->asyncAfter(1s, weakCall(&Server::due));    // runs on the queue already
///       service_.list(weakPost(&Server::listed));                    // answers on a thread of its own
///     };
///
/// Owned by shared pointers; the queue outlives it.
/// The closures may be made on any thread.
template <class Derived>
class QueueBound : public std::enable_shared_from_this<Derived> {
 protected:
  explicit QueueBound(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}

  const std::shared_ptr<SerialQueue>& queue() const { return queue_; }

  /// Runs `work` with this object on the queue, later. `work` is a member function or takes `Derived&`.
  template <class Work>
  void post(Work work) {
    queue_->async(tevanto::weakCall(this->weak_from_this(), std::move(work)));
  }

  /// A closure that calls `work` with this object and its arguments at once: for callers that are on the
  /// queue.
  template <class Work>
  auto weakCall(Work work) {
    return tevanto::weakCall(this->weak_from_this(), std::move(work));
  }

  /// A closure that posts `work` with this object and its arguments to the queue: for callers on any thread.
  template <class Work>
  auto weakPost(Work work) {
    return [weak = this->weak_from_this(), queue = queue_, work = std::move(work)](auto... arguments) {
      queue->async([weak, work, ... arguments = std::move(arguments)]() mutable {
        if (const auto alive = weak.lock()) std::invoke(work, *alive, std::move(arguments)...);
      });
    };
  }

  /// Ends the program, in builds with assertions, when the caller is not on the queue.
  void assertOnQueue() const { assert(queue_->isCurrent() && "runs on its own queue only"); }

 private:
  const std::shared_ptr<SerialQueue> queue_;
};

}  // namespace tevanto
