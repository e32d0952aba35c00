#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// ScrollProbe finds by how many rows a page has scrolled from one picture to the next. It compares a few
/// columns, in a fraction of a millisecond a picture, and gives no answer where nothing moved as one.
class ScrollProbe {
 public:
  static constexpr int kFarthest = 112;  // rows

  /// The next picture's luma, which differs from the one before within `changed`. The number of rows by which
  /// its content has moved up (down when negative); absent when it has not moved, or the number is not clear.
  std::optional<int> measure(const PixelPlane& luma, const PixelRect& changed);

 private:
  /// Window holds the columns and rows that are compared: all are in what changed, with the farthest shift
  /// added.
  struct Window {
    std::size_t begin = 0;  // in bytes of a sampled row
    std::size_t bytes = 0;
    int top = 0;
    int bottom = 0;
    int reach = 0;  // rows
  };

  Window windowOf(const PixelRect& changed) const;
  std::optional<int> shiftWithin(const Window& window, const PixelPlane& luma);
  void remember(const PixelPlane& luma, const PixelRect& changed);
  std::uint32_t difference(const Window& window, int shift) const;

  std::size_t columns_ = 0;              // strips
  std::vector<std::uint8_t> previous_;   // row by row, the strips of each side by side
  std::vector<std::uint8_t> sample_;     // the same of the rows that are compared
  std::vector<std::uint32_t> distance_;  // for each shift from -reach to reach
};

}  // namespace tevanto
