#pragma once

#include <memory>
#include <string>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// QtMainQueue is the main queue of a program with windows: its work and its timers run on the loop of Qt's
/// application. Everything that runs on the main thread, a click included, therefore runs on this queue. Made
/// and destroyed on the main thread, while the application exists.
class QtMainQueue final : public SerialQueue {
 public:
  explicit QtMainQueue(std::string label);
  ~QtMainQueue() override;

  void async(Task work) override;
  [[nodiscard]] Timer asyncAfter(Duration delay, Task work) override;
  void sync(Task work) override;
  bool isCurrent() const override;
  TimePoint now() const override;

  /// Drops the work that has not run, and releases the threads that wait for it. On the main thread, once the
  /// loop has ended.
  void stop();

  struct Core;

 private:
  const std::shared_ptr<Core> core_;
};

}  // namespace tevanto
