#pragma once

#include <cstdint>

namespace tevanto {

/// WheelSteps turns a scroll in pixels into clicks of a wheel, on one axis. The rest is kept for the next
/// scroll. Does no I/O.
class WheelSteps {
 public:
  /// As far as the X driver of touchpads lets fingers go for one click by default.
  static constexpr int kPixelsPerStep = 15;
  /// More clicks than this make no difference to any window, but each costs two events at every listener;
  /// what a scroll asks for beyond them is dropped.
  static constexpr int kMostSteps = 100;

  /// The clicks to send now; positive is up or left.
  int add(std::int32_t pixels);

 private:
  std::int32_t rest_ = 0;
};

}  // namespace tevanto
