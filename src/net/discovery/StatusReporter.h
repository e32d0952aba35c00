#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// The one road by which the status of one registration leaves: it passes changes only, and nothing any more
/// once it has been closed.
class StatusReporter {
 public:
  StatusReporter(AdvertisingStatus initial, ServiceAdvertiser::StatusHandler handler);

  /// Calls the handler when `status` differs from the last one. Always on the same thread.
  void report(const AdvertisingStatus& status);
  /// After it no call begins, and none is under way on another thread. Any thread, also inside the handler.
  void close();

 private:
  std::mutex mutex_;
  std::condition_variable idle_;
  AdvertisingStatus last_;
  ServiceAdvertiser::StatusHandler handler_;
  std::thread::id callingOn_;  // of the thread inside the handler, else none
  bool closed_ = false;
};

}  // namespace tevanto
