#pragma once

#include <span>
#include <vector>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// The common part; without pixels when there is none.
PixelRect intersection(const PixelRect& a, const PixelRect& b);
/// The smallest rectangle around both; one without pixels adds nothing.
PixelRect bounds(const PixelRect& a, const PixelRect& b);
inline bool hasPixels(const PixelRect& rect) { return rect.width > 0 && rect.height > 0; }

/// ChangedArea holds the changed parts of a picture as a few rectangles that share no row. A clock that ticks
/// above and a cursor that blinks below cost two small bands rather than everything between.
/// A value.
class ChangedArea {
 public:
  void add(const PixelRect& rect);
  void add(const ChangedArea& other);
  void clear() { rects_.clear(); }

  bool empty() const { return rects_.empty(); }
  /// From the top down.
  std::span<const PixelRect> rects() const { return rects_; }
  PixelRect bounds() const;

  bool operator==(const ChangedArea&) const = default;

 private:
  std::vector<PixelRect> rects_;
};

}  // namespace tevanto
