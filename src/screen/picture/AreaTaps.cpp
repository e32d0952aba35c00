#include "screen/picture/AreaTaps.h"

#include <algorithm>
#include <cassert>

namespace tevanto {
namespace {

struct Stretch {
  std::int64_t begin;  // in parts of a source pixel, of which there are as many as output pixels
  std::int64_t end;
};

// Rounds the running total, so that the weights add up exactly. A pixel that counts in full would weigh 128,
// which eight signed bits do not hold: its neighbor takes the rest, two levels at most.
void setWeights(const Stretch& stretch, std::int64_t parts, std::int64_t firstSource, std::int8_t* weights,
                int count) {
  const auto length = stretch.end - stretch.begin;
  int given = 0;
  for (int i = 0; i < count; ++i) {
    const auto end = std::min(stretch.end, (firstSource + i + 1) * parts);
    const auto covered = std::max<std::int64_t>(0, end - stretch.begin);
    const auto total = static_cast<int>((2 * covered * AreaTaps::kWeightSum + length) / (2 * length));
    const bool all = total - given == AreaTaps::kWeightSum;
    weights[i] = static_cast<std::int8_t>(all ? AreaTaps::kWeightSum - 1 : total - given + weights[i]);
    if (all) weights[i == 0 ? 1 : i - 1] = 1;
    given = total;
  }
}

}  // namespace

AreaTaps::AreaTaps(int sourcePixels, int outputPixels)
    : sourceLength(sourcePixels), outputLength(outputPixels) {
  assert(sourceLength > 1 && outputLength > 0 && "an axis has pixels");
  const std::int64_t parts = outputLength;
  const auto stretchOf = [this](int output) {
    return Stretch{static_cast<std::int64_t>(output) * sourceLength,
                   static_cast<std::int64_t>(output + 1) * sourceLength};
  };
  const auto countOf = [&](const Stretch& stretch) {
    return static_cast<int>((stretch.end + parts - 1) / parts - stretch.begin / parts);
  };
  int most = 2;
  for (int i = 0; i < outputLength; ++i) most = std::max(most, countOf(stretchOf(i)));
  taps = (most + kTapGroup - 1) / kTapGroup * kTapGroup;
  first.resize(static_cast<std::size_t>(outputLength));
  weights.resize(static_cast<std::size_t>(outputLength) * static_cast<std::size_t>(taps));
  for (int i = 0; i < outputLength; ++i) {
    const auto stretch = stretchOf(i);
    auto* own = weights.data() + static_cast<std::ptrdiff_t>(i) * taps;
    auto& firstSource = first[static_cast<std::size_t>(i)];
    firstSource = static_cast<int>(stretch.begin / parts);
    const int count = std::max(2, countOf(stretch));
    firstSource = std::min(firstSource, sourceLength - count);
    setWeights(stretch, parts, firstSource, own, count);
  }
}

int AreaTaps::outputBegin(int begin) const {
  const auto reached = std::max(0, begin - 1);  // by the neighbor's share
  return static_cast<int>(static_cast<std::int64_t>(reached) * outputLength / sourceLength);
}

int AreaTaps::outputEnd(int end) const {
  const auto scaled = static_cast<std::int64_t>(std::min(sourceLength, end + 1)) * outputLength;
  return static_cast<int>((scaled + sourceLength - 1) / sourceLength);
}

}  // namespace tevanto
