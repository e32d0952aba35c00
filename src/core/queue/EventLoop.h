#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tevanto {

class SerialQueue;

/// EventLoop waits for sockets, timers and posted work, and runs what is due. The main loop is run by the
/// main thread and carries the main queue and the queues of the network. A background loop owns a few
/// threads, for work that may block. Queues of one loop never run on another.
class EventLoop {
 public:
  /// A loop that is run by the caller of `run()`.
  static std::shared_ptr<EventLoop> forCallingThread();
  /// A loop that is run by `threads` threads of its own, started when the first work arrives.
  static std::shared_ptr<EventLoop> background(unsigned threads);

  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  /// Runs until `stop()`. Only for a loop made by `forCallingThread()`.
  void run();
  /// Makes `run()` return, or ends and joins the loop's own threads; what has not run by then never runs. May
  /// be called twice and from any thread that is not one of the loop's own.
  void stop();
  /// Calls `handler` on this loop each time one of the POSIX `signals` reaches the process.
  void onSignals(std::vector<int> signals, std::function<void(int signal)> handler);

  /// A new serial queue on this loop. The queue keeps the loop's innards alive, not its threads.
  std::shared_ptr<SerialQueue> makeQueue(std::string label);

  struct Core;
  const std::shared_ptr<Core>& core() const { return core_; }

 private:
  explicit EventLoop(unsigned threads);

  std::shared_ptr<Core> core_;
};

}  // namespace tevanto
