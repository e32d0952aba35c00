#pragma once

#include <functional>
#include <memory>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// Tells a queue of an event loop that a descriptor which somebody else owns can be read, or that its other
/// end is gone. Costs nothing while nothing comes. Lives on that queue, and goes before the descriptor does.
class DescriptorWatch {
 public:
  DescriptorWatch(SerialQueue& queue, int descriptor);
  ~DescriptorWatch();
  DescriptorWatch(const DescriptorWatch&) = delete;
  DescriptorWatch& operator=(const DescriptorWatch&) = delete;

  /// Calls `work` on the queue, once; not when this object goes before.
  void whenReadable(std::function<void()> work);

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

}  // namespace tevanto
