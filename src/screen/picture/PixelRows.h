#pragma once

#include <cstddef>
#include <cstdint>

namespace tevanto {

/// The loops that every pixel goes through: rows of 32-bit pixels (blue, green, red, unused) are blended,
/// scaled and turned into YCbCr. One set for any processor and one for AVX2, to the bit the same.
struct PixelRows {
  using Byte = std::uint8_t;

  /// `out` = the mean of `count` rows by weights that add up to 128, rounded.
  void (*blend)(const Byte* const* rows, const std::int8_t* weights, int count, std::size_t bytes, Byte* out);
  /// Scales one row: pixel i of `out` = the mean of `taps` pixels from `first[i]` on, by its weights. `taps`
  /// is a multiple of 4; `count` is one of 8; `taps` more pixels than the row has may be read.
  void (*scale)(const Byte* row, const int* first, const std::int8_t* weights, int taps, int count,
                Byte* out);
  /// ITU-R BT.709, limited range.
  void (*luma)(const Byte* pixels, int count, Byte* y);
  /// One Cb and Cr each for `count` squares of two by two pixels.
  void (*chroma)(const Byte* upper, const Byte* lower, int count, Byte* cb, Byte* cr);
};

/// The best set for this processor.
const PixelRows& pixelRows();
/// Plain C++.
const PixelRows& portablePixelRows();
/// Null where it was not built or the processor cannot.
const PixelRows* avx2PixelRows();

}  // namespace tevanto
