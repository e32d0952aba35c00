#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "screen/picture/AreaTaps.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

struct PixelRows;

/// PictureScaler draws a display's picture, or the changed part of it, into a buffer of another size and
/// format. It runs an area filter, then the conversion to YCbCr while the rows are still in the nearest
/// cache. Where the shapes differ, the picture keeps its proportions between black bars.
/// Used by one thread.
class PictureScaler {
 public:
  PictureScaler(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight);
  PictureScaler(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight, const PixelRows& rows);

  /// Where the picture lies in the buffer.
  const PixelRect& viewport() const { return viewport_; }
  /// The part of the buffer in which a change of `source` shows; at even coordinates.
  PixelRect outputOf(const PixelRect& source) const;
  /// Draws `part` of the buffer, as `outputOf` gives it. `source`: rows of 32-bit pixels (blue, green, red,
  /// unused), `stride` bytes apart. The format is bgra, i420 or nv12.
  void draw(const std::byte* source, std::size_t stride, const PixelRect& part, PixelBuffer& buffer);
  /// Makes all of the buffer black.
  static void clear(PixelBuffer& buffer);

 private:
  /// Pass holds the input of one pass of `draw`; columns in pixels of the viewport.
  struct Pass {
    const std::uint8_t* source;
    std::size_t stride;
    int begin;
    int end;
  };

  const std::uint8_t* row(const Pass& pass, int y, std::vector<std::uint8_t>& scratch);
  const std::uint8_t* blendedRow(const Pass& pass, int y);
  void write(const Pass& pass, int y, const std::uint8_t* upper, const std::uint8_t* lower,
             PixelBuffer& buffer);
  void writeChroma(const Pass& pass, int y, const std::uint8_t* upper, const std::uint8_t* lower,
                   PixelBuffer& buffer);

  const PixelRows& rows_;
  const PixelRect viewport_;
  const AreaTaps columns_;
  const AreaTaps lines_;
  std::vector<std::uint8_t> blended_;  // one row, scaled in height only
  std::vector<std::uint8_t> upper_;    // rows of the output
  std::vector<std::uint8_t> lower_;
  std::vector<std::uint8_t> cb_;
  std::vector<std::uint8_t> cr_;
  std::vector<const std::uint8_t*> blendFrom_;
};

}  // namespace tevanto
