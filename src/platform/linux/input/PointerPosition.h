#pragma once

#include "control/InputEvents.h"

namespace tevanto {

/// PointerPosition tracks the pointer: the pixel that the server knows, and the part of a pixel that no
/// screen can show. It turns target positions into whole steps. Does no I/O.
class PointerPosition {
 public:
  /// The farthest step on an axis. X coordinates are 16 bits, so this crosses any screen twice over.
  static constexpr int kFarthestStep = 65534;

  /// Step is a motion of the pointer in whole pixels.
  struct Step {
    int dx = 0;
    int dy = 0;
    bool operator==(const Step&) const = default;
  };

  void setScreen(int width, int height);
  /// Takes the server's position. The part of a pixel is kept on an axis whose pixel is as it was.
  void setPixel(int x, int y);
  PointerLocation location() const { return {x_.exact(), y_.exact()}; }
  /// The whole steps to the pixel nearest to `target`. A step beyond the edge is given out too, since the
  /// server knows the true edges; the tracked position itself stays on the screen.
  Step moveTo(PointerLocation target);

 private:
  /// Axis tracks one coordinate.
  struct Axis {
    int pixel = 0;
    double part = 0;  // -0.5 to 0.5 pixels
    int size = 1;

    double exact() const { return pixel + part; }
    void set(int position);
    int moveTo(double target);
  };

  Axis x_;
  Axis y_;
};

}  // namespace tevanto
