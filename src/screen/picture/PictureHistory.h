#pragma once

#include <cstdint>
#include <deque>

#include "screen/picture/ChangedArea.h"

namespace tevanto {

/// PictureHistory holds the changes from picture to picture, for as far back as recycled buffers are likely
/// to reach. It tells which area to redraw in a buffer that still holds an earlier picture.
/// A value.
class PictureHistory {
 public:
  /// `everything`: the whole picture.
  explicit PictureHistory(PixelRect everything) : everything_(everything) {}

  /// The number of the latest picture; they count up from 1, and 0 means none.
  std::uint64_t latest() const { return latest_; }
  /// The next picture differs from the one before in `area`.
  std::uint64_t add(ChangedArea area);
  /// From here on earlier pictures are of no use: the picture has another shape.
  void restart(PixelRect everything);
  /// The area of the latest picture to redraw in a buffer that holds `picture`; 0 when it holds none.
  ChangedArea since(std::uint64_t picture) const;
  /// True when the latest picture can be described by its difference from the one before.
  bool continues() const { return areas_.size() > 1; }

 private:
  PixelRect everything_;
  std::uint64_t latest_ = 0;
  std::deque<ChangedArea> areas_;  // the last one belongs to the latest picture
};

}  // namespace tevanto
