#include "screen/picture/PixelRows.h"

#include <cstring>

namespace tevanto {
namespace {

using Byte = PixelRows::Byte;

constexpr int kRound = 64;  // half of the weights' sum

void blend(const Byte* const* rows, const std::int8_t* weights, int count, std::size_t bytes, Byte* out) {
  constexpr std::size_t kBlock = 64;
  for (std::size_t at = 0; at < bytes; at += kBlock) {
    const auto length = bytes - at < kBlock ? bytes - at : kBlock;
    std::int16_t sums[kBlock];
    for (auto& sum : sums) sum = kRound;
    for (int r = 0; r < count; ++r) {
      const auto* row = rows[r] + at;
      for (std::size_t i = 0; i < length; ++i)
        sums[i] = static_cast<std::int16_t>(sums[i] + row[i] * weights[r]);
    }
    for (std::size_t i = 0; i < length; ++i) out[at + i] = static_cast<Byte>(sums[i] >> 7);
  }
}

void scale(const Byte* row, const int* first, const std::int8_t* weights, int taps, int count, Byte* out) {
  for (int x = 0; x < count; ++x, weights += taps, out += 4) {
    const auto* source = row + static_cast<std::ptrdiff_t>(first[x]) * 4;
    int sums[4] = {kRound, kRound, kRound, kRound};
    for (int t = 0; t < taps; ++t) {
      for (int c = 0; c < 4; ++c) sums[c] += source[t * 4 + c] * weights[t];
    }
    for (int c = 0; c < 4; ++c) out[c] = static_cast<Byte>(sums[c] >> 7);
  }
}

void luma(const Byte* pixels, int count, Byte* y) {
  for (int x = 0; x < count; ++x, pixels += 4) {
    y[x] = static_cast<Byte>((16 * pixels[0] + 157 * pixels[1] + 47 * pixels[2] + 16 * 256 + 128) >> 8);
  }
}

int mean(int a, int b) { return (a + b + 1) >> 1; }

void chroma(const Byte* upper, const Byte* lower, int count, Byte* cb, Byte* cr) {
  for (int x = 0; x < count; ++x, upper += 8, lower += 8) {
    int color[3];
    for (int c = 0; c < 3; ++c) color[c] = mean(mean(upper[c], lower[c]), mean(upper[c + 4], lower[c + 4]));
    cb[x] = static_cast<Byte>((112 * color[0] - 86 * color[1] - 26 * color[2] + 128 * 256 + 128) >> 8);
    cr[x] = static_cast<Byte>((-10 * color[0] - 102 * color[1] + 112 * color[2] + 128 * 256 + 128) >> 8);
  }
}

}  // namespace

const PixelRows& portablePixelRows() {
  static constexpr PixelRows kRows{blend, scale, luma, chroma};
  return kRows;
}

const PixelRows& pixelRows() {
  const auto* fast = avx2PixelRows();
  return fast ? *fast : portablePixelRows();
}

}  // namespace tevanto
