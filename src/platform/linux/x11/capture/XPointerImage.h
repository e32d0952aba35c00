#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "screen/picture/ChangedArea.h"

namespace tevanto {

class XCaptureConnection;

/// The pointer's picture, drawn into the rows of a display while they are scaled and taken out again. It is
/// drawn before the scaling, so that it looks as the rest does.
class XPointerImage {
 public:
  /// The pointer as it is now; absent when the server does not tell. One round trip.
  static std::optional<XPointerImage> fetch(const XCaptureConnection& screen);

  /// The area that it covers with its tip at `x`, `y`.
  PixelRect area(int x, int y) const { return {x - hotX_, y - hotY_, width_, height_}; }
  /// Draws it with its tip at `x`, `y` into rows of 32-bit pixels, as far as it lies within `bounds`, and
  /// keeps what it covers.
  void draw(std::byte* pixels, std::size_t stride, const PixelRect& bounds, int x, int y);
  /// Puts back what the last `draw` covered.
  void erase(std::byte* pixels, std::size_t stride);

 private:
  int width_ = 0;
  int height_ = 0;
  int hotX_ = 0;
  int hotY_ = 0;
  std::vector<std::uint32_t> pixels_;  // alpha in the highest byte, the colors multiplied by it
  PixelRect covered_;
  std::vector<std::uint32_t> under_;
};

}  // namespace tevanto
