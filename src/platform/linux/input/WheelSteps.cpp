#include "platform/linux/input/WheelSteps.h"

#include <algorithm>

namespace tevanto {

int WheelSteps::add(std::int32_t pixels) {
  const std::int64_t whole = std::int64_t{rest_} + pixels;
  rest_ = static_cast<std::int32_t>(whole % kPixelsPerStep);
  return static_cast<int>(std::clamp<std::int64_t>(whole / kPixelsPerStep, -kMostSteps, kMostSteps));
}

}  // namespace tevanto
