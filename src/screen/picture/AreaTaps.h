#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tevanto {

/// The weights of an area filter along one axis: each output pixel is the mean of the stretch of source
/// pixels that it covers, with those at the ends counted by the part that is covered. The filter has no
/// ripple and lets nothing alias that its own width can hold back.
struct AreaTaps {
  /// Weights of one output pixel add up to this: with it, bytes times weights add up in signed 16 bits.
  static constexpr int kWeightSum = 128;
  /// `taps` is a multiple of this.
  static constexpr int kTapGroup = 4;

  AreaTaps(int sourceLength, int outputLength);

  const std::int8_t* weightsOf(int output) const {
    return weights.data() + static_cast<std::size_t>(output) * static_cast<std::size_t>(taps);
  }
  /// True when output and source pixels are the same.
  bool isIdentity() const { return sourceLength == outputLength; }
  /// The output pixels that the source pixels from `begin` to `end` (exclusive) have a part in.
  int outputBegin(int begin) const;
  int outputEnd(int end) const;

  int sourceLength;
  int outputLength;
  int taps = 0;            // weights held for each output pixel, the last ones zero where fewer count
  std::vector<int> first;  // the source pixel of each output pixel's first weight
  std::vector<std::int8_t> weights;  // `taps` for each output pixel
};

}  // namespace tevanto
