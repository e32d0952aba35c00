#pragma once

#include <memory>
#include <string>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// The main queue of a program with windows: its work and its timers run on the loop of Qt's application, so
/// that whatever runs on the main thread, a click included, runs on this queue. Made and destroyed on the
/// main thread, while the application exists.
class QtMainQueue final : public SerialQueue {
 public:
  explicit QtMainQueue(std::string label);
  ~QtMainQueue() override;

  void async(Task work) override;
  [[nodiscard]] Timer asyncAfter(Duration delay, Task work) override;
  void sync(Task work) override;
  bool isCurrent() const override;
  TimePoint now() const override;

  /// What has not run by now never runs, and nobody waits for it any longer. On the main thread, once the
  /// loop has ended.
  void stop();

  struct Core;

 private:
  const std::shared_ptr<Core> core_;
};

}  // namespace tevanto
