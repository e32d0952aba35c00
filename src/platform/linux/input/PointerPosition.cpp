#include "platform/linux/input/PointerPosition.h"

#include <algorithm>
#include <cmath>

namespace tevanto {

void PointerPosition::Axis::set(int position) {
  if (position != pixel) part = 0;
  pixel = position;
}

int PointerPosition::Axis::moveTo(double target) {
  if (std::isnan(target)) return 0;
  const double nearest = std::clamp(std::floor(target + 0.5), static_cast<double>(pixel - kFarthestStep),
                                    static_cast<double>(pixel + kFarthestStep));
  const int reached = static_cast<int>(nearest);
  const int step = reached - pixel;
  pixel = std::clamp(reached, 0, size - 1);
  part = pixel == reached ? std::clamp(target - reached, -0.5, 0.5) : 0;
  return step;
}

void PointerPosition::setScreen(int width, int height) {
  x_.size = std::max(width, 1);
  y_.size = std::max(height, 1);
}

void PointerPosition::setPixel(int x, int y) {
  x_.set(x);
  y_.set(y);
}

PointerPosition::Step PointerPosition::moveTo(PointerLocation target) {
  return {x_.moveTo(target.x), y_.moveTo(target.y)};
}

}  // namespace tevanto
