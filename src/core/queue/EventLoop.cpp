#include "core/queue/EventLoop.h"

#include <algorithm>
#include <atomic>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cassert>
#include <utility>

#include "core/queue/EventLoopCore.h"
#include "core/queue/WaitForTurn.h"

namespace tevanto {

EventLoop::Core::Core(unsigned ownThreads)
    : context(static_cast<int>(ownThreads == 0 ? 1 : ownThreads)),
      work(boost::asio::make_work_guard(context)),
      threadCount(ownThreads) {}

void EventLoop::Core::ensureThreads() {
  if (threadCount == 0) return;
  const std::lock_guard lock(mutex);
  if (stopped || !threads.empty()) return;
  for (unsigned i = 0; i < threadCount; ++i) threads.emplace_back([this] { context.run(); });
}

void EventLoop::Core::stop() {
  std::vector<std::thread> ending;
  {
    const std::lock_guard lock(mutex);
    stopped = true;
    ending.swap(threads);
  }
  changed.notify_all();
  context.stop();
  for (auto& thread : ending) {
    assert(thread.get_id() != std::this_thread::get_id() && "a loop cannot be stopped from its own threads");
    thread.join();
  }
}

std::shared_ptr<EventLoop> EventLoop::forCallingThread() {
  return std::shared_ptr<EventLoop>(new EventLoop(0));
}

std::shared_ptr<EventLoop> EventLoop::background(unsigned threads) {
  assert(threads > 0 && "a background loop needs a thread");
  return std::shared_ptr<EventLoop>(new EventLoop(threads));
}

EventLoop::EventLoop(unsigned threads) : core_(std::make_shared<Core>(threads)) {}
EventLoop::~EventLoop() {
  stop();
  core_->abandonWork();
}

void EventLoop::run() {
  assert(core_->threadCount == 0 && "a background loop runs by itself");
  core_->context.run();
}

void EventLoop::stop() { core_->stop(); }

void EventLoop::onSignals(std::vector<int> signals, std::function<void(int)> handler) {
  auto set = std::make_shared<boost::asio::signal_set>(core_->context);
  for (const int signal : signals) set->add(signal);
  struct Waiter {
    static void wait(const std::shared_ptr<boost::asio::signal_set>& set, std::function<void(int)> handler) {
      set->async_wait(
          [set, handler = std::move(handler)](const boost::system::error_code& error, int signal) {
            if (error) return;
            handler(signal);
            wait(set, handler);
          });
    }
  };
  Waiter::wait(set, std::move(handler));
  core_->ensureThreads();
}

std::shared_ptr<SerialQueue> EventLoop::makeQueue(std::string label) {
  return std::make_shared<EventLoopQueue>(core_, std::move(label));
}

EventLoopQueue::EventLoopQueue(std::shared_ptr<EventLoop::Core> core, std::string label)
    : SerialQueue(std::move(label)),
      core_(std::move(core)),
      strand_(boost::asio::make_strand(core_->context)) {}

void EventLoopQueue::async(Task work) {
  core_->ensureThreads();
  boost::asio::post(strand_, std::move(work));
}

void EventLoopQueue::dispatch(Task work) {
  core_->ensureThreads();
  boost::asio::dispatch(strand_, std::move(work));
}

Timer EventLoopQueue::asyncAfter(Duration delay, Task work) {
  core_->ensureThreads();
  struct Pending {
    explicit Pending(const Strand& strand) : timer(strand) {}
    boost::asio::steady_timer timer;
    std::atomic<bool> cancelled = false;
  };
  auto pending = std::make_shared<Pending>(strand_);
  pending->timer.expires_after(std::max(delay, Duration::zero()));
  pending->timer.async_wait(boost::asio::bind_executor(
      strand_, [pending, work = std::move(work)](const boost::system::error_code& error) mutable {
        if (!error && !pending->cancelled) work();
      }));
  // The queue may be gone by then; its strand works for as long as the core lives.
  return Timer([core = core_, strand = strand_, weak = std::weak_ptr(pending)] {
    const auto alive = weak.lock();
    if (!alive) return;
    alive->cancelled = true;
    // A timer is not safe to touch from two threads: at once when already on the strand, else in its turn.
    boost::asio::dispatch(strand, [alive] { alive->timer.cancel(); });
  });
}

void EventLoopQueue::sync(Task work) {
  if (isCurrent()) return work();
  waitForTurn(
      core_, [this](Task turn) { async(std::move(turn)); }, work);
}

bool EventLoopQueue::isCurrent() const { return strand_.running_in_this_thread(); }

SerialQueue::TimePoint EventLoopQueue::now() const { return std::chrono::steady_clock::now(); }

EventLoopQueue& EventLoopQueue::from(SerialQueue& queue) {
  auto* own = dynamic_cast<EventLoopQueue*>(&queue);
  assert(own && "a socket lives on a queue of an event loop");
  return *own;
}

}  // namespace tevanto
