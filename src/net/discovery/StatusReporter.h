#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// StatusReporter reports the status of one service registration to its handler. It suppresses repeated
/// values. No call of the handler begins or is running once `close` has returned.
/// `report` is called on one thread; `close` is thread-safe.
class StatusReporter {
 public:
  StatusReporter(AdvertisingStatus initial, ServiceAdvertiser::StatusHandler handler);

  /// Calls the handler when `status` differs from the last one. Always on the same thread.
  void report(const AdvertisingStatus& status);
  /// Waits for a call of the handler on another thread. May be called inside the handler too.
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
