#pragma once

#include <avahi-common/watch.h>

#include <memory>

#include "core/queue/Task.h"

namespace tevanto {

/// A thread that waits for what the Avahi client library watches and runs the work posted to it, one piece at
/// a time. The library's calls block on D-Bus, so it gets no place on the program's own queues. Without
/// anything to do the thread sleeps without a time limit.
class AvahiLoop {
 public:
  AvahiLoop();
  /// Ends the thread after the work posted so far. On the loop's own thread it returns at once and the thread
  /// ends after the work that is running.
  ~AvahiLoop();
  AvahiLoop(const AvahiLoop&) = delete;
  AvahiLoop& operator=(const AvahiLoop&) = delete;

  /// Runs `work` on the loop's thread. Any thread; work posted after the end is dropped.
  void post(Task work);
  /// Work that runs on the loop's thread after the last posted one, just before the thread ends.
  void postLast(Task work);

  /// For the Avahi client; only used on the loop's thread.
  const AvahiPoll* poll() const;

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

}  // namespace tevanto
