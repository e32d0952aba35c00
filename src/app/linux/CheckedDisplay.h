#pragma once

#include <functional>
#include <memory>

#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"
#include "platform/linux/display/DisplayBackend.h"

namespace tevanto {

/// CheckedDisplay is the display backend of one check of the doctor, with a main queue of its own. It is used
/// on the thread of that check.
class CheckedDisplay {
 public:
  CheckedDisplay();
  /// Ends the input on its queue, then the loop.
  ~CheckedDisplay();
  CheckedDisplay(const CheckedDisplay&) = delete;
  CheckedDisplay& operator=(const CheckedDisplay&) = delete;

  DisplayBackend* operator->() const { return backend_.get(); }
  /// Runs `work` on the main queue and returns after it.
  void sync(const std::function<void()>& work) const;

 private:
  const std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  const std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("main");
  std::unique_ptr<DisplayBackend> backend_;
};

}  // namespace tevanto
