#pragma once

#include <rtc_base/null_socket_server.h>
#include <rtc_base/thread.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// The engine's signaling thread, which is the thread of one of our event loops: what the engine posts to it
/// runs in turns of a queue. A message that came from the network is then where the program works on it, and
/// one that is sent goes straight to the network's thread, where a signaling thread of the engine's own would
/// have to be woken up in between, both times.
class LibwebrtcSignaling final {
 public:
  /// `queue`: nobody else's, of a loop with one thread, which runs and has no other engine.
  explicit LibwebrtcSignaling(std::shared_ptr<SerialQueue> queue);
  ~LibwebrtcSignaling();
  LibwebrtcSignaling(const LibwebrtcSignaling&) = delete;
  LibwebrtcSignaling& operator=(const LibwebrtcSignaling&) = delete;

  rtc::Thread& thread() { return thread_; }
  bool isCurrent() const { return thread_.IsCurrent(); }

  /// Later, in the order of these calls.
  template <class F>
  void post(F&& task) {
    thread_.PostTask(std::forward<F>(task));
  }
  /// At once where the caller is on this thread already, before what was posted; else like `post`.
  template <class F>
  void dispatch(F&& task) {
    if (isCurrent()) return std::forward<F>(task)();
    post(std::forward<F>(task));
  }
  /// Now; waits for it.
  template <class F>
  auto call(F&& function) {
    if (isCurrent()) return std::forward<F>(function)();
    return thread_.BlockingCall(std::forward<F>(function));
  }

  /// In a turn of the loop, outside of all that was posted here; destroyed with the loop where that ends
  /// before. From any thread.
  void afterwards(Task work) { queue_->async(std::move(work)); }

  /// Runs what was posted, then `last`, and gives the thread back to its loop. Not inside a task of this
  /// thread. Where the loop has ended before, with its thread, the caller's takes the place of that one.
  void finish(const std::function<void()>& last);

 private:
  /// Waits only for other threads of the engine, when one of them is asked for something. For work, the loop
  /// waits, and a wake-up is a turn of the queue.
  class Waiter final : public rtc::NullSocketServer {
   public:
    explicit Waiter(LibwebrtcSignaling& owner) : owner_(owner) {}
    bool Wait(webrtc::TimeDelta longest, bool forWork) override;
    void WakeUp() override;

   private:
    LibwebrtcSignaling& owner_;
    std::atomic<bool> isWaiting_ = false;
  };

  struct Alarm {
    SerialQueue::TimePoint due;
    Timer timer;
  };

  void wakeUp();
  void runTurn();
  void lookAhead();
  void wakeUpAt(SerialQueue::TimePoint due);
  void stopWith(const std::function<void()>& last);

  const std::shared_ptr<SerialQueue> queue_;
  std::atomic<bool> isWoken_ = false;
  std::optional<Alarm> alarm_;  // the loop's, for what was posted with a delay
  /// The pointer by which turns of the queue find this object; gone once the thread was released. The
  /// loop's.
  std::shared_ptr<LibwebrtcSignaling*> self_ = std::make_shared<LibwebrtcSignaling*>(this);
  const std::weak_ptr<LibwebrtcSignaling*> weakSelf_ = self_;
  Waiter waiter_{*this};
  rtc::Thread thread_{&waiter_};
};

}  // namespace tevanto
