#include "net/discovery/StatusReporter.h"

#include <utility>

namespace tevanto {

StatusReporter::StatusReporter(AdvertisingStatus initial, ServiceAdvertiser::StatusHandler handler)
    : last_(std::move(initial)), handler_(std::move(handler)) {}

void StatusReporter::report(const AdvertisingStatus& status) {
  {
    const std::lock_guard lock(mutex_);
    if (closed_ || status == last_) return;
    last_ = status;
    callingOn_ = std::this_thread::get_id();
  }
  if (handler_) handler_(status);
  ServiceAdvertiser::StatusHandler closedMeanwhile;
  {
    const std::lock_guard lock(mutex_);
    callingOn_ = {};
    if (closed_) closedMeanwhile = std::exchange(handler_, nullptr);
  }
  idle_.notify_all();
}

void StatusReporter::close() {
  ServiceAdvertiser::StatusHandler closing;
  std::unique_lock lock(mutex_);
  closed_ = true;
  if (callingOn_ == std::this_thread::get_id()) return;  // the handler is still running: `report` drops it
  idle_.wait(lock, [this] { return callingOn_ == std::thread::id(); });
  closing = std::exchange(handler_, nullptr);
  lock.unlock();
}

}  // namespace tevanto
