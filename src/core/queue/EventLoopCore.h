#pragma once

// For the classes that talk to Boost.Asio themselves (sockets, descriptors): everybody else uses SerialQueue.

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/strand.hpp>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// EventLoop::Core holds the I/O context of an event loop and the threads that run it.
struct EventLoop::Core {
  /// Context is an I/O context whose pending work can be destroyed before the context.
  class Context : public boost::asio::io_context {
   public:
    using execution_context::shutdown;
    using io_context::io_context;
  };

  explicit Core(unsigned ownThreads);

  /// Starts the loop's own threads if it has any and they do not run yet.
  void ensureThreads();
  void stop();
  /// Destroys the work that never came to run. It may own queues, which own this: nobody else would free
  /// them.
  void abandonWork() { context.shutdown(); }

  Context context;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work;
  const unsigned threadCount;
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  std::vector<std::thread> threads;
  bool stopped = false;
};

/// EventLoopQueue is the serial queue of an event loop: a strand.
class EventLoopQueue final : public SerialQueue, public std::enable_shared_from_this<EventLoopQueue> {
 public:
  using Strand = boost::asio::strand<boost::asio::io_context::executor_type>;

  EventLoopQueue(std::shared_ptr<EventLoop::Core> core, std::string label);

  void async(Task work) override;
  void dispatch(Task work) override;
  [[nodiscard]] Timer asyncAfter(Duration delay, Task work) override;
  void sync(Task work) override;
  bool isCurrent() const override;
  TimePoint now() const override;

  const Strand& strand() const { return strand_; }
  boost::asio::io_context& context() const { return core_->context; }

  /// The event-loop queue behind `queue`; sockets can only live on one of these.
  static EventLoopQueue& from(SerialQueue& queue);

 private:
  std::shared_ptr<EventLoop::Core> core_;
  Strand strand_;
};

}  // namespace tevanto
