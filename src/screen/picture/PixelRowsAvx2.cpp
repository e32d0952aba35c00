// Built with AVX2 for the whole file: it calls nothing that another file may have built without.
#include <immintrin.h>

#include "screen/picture/PixelRows.h"

namespace tevanto {
namespace {

using Byte = PixelRows::Byte;

__m256i load(const Byte* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }
__m128i loadHalf(const Byte* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
void store(Byte* to, __m256i value) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }
__m256i joined(__m128i low, __m128i high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

// Sixteen sums, back to bytes' range.
__m256i rounded(__m256i sums) { return _mm256_srai_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(64)), 7); }

// Multiplies the bytes of two rows at a time: an odd last row goes with itself at no weight.
void blend(const Byte* const* rows, const std::int8_t* weights, int count, std::size_t bytes, Byte* out) {
  std::size_t at = 0;
  for (; at + 32 <= bytes; at += 32) {
    auto low = _mm256_setzero_si256();
    auto high = low;
    for (int r = 0; r < count; r += 2) {
      const bool pair = r + 1 < count;
      const auto a = load(rows[r] + at);
      const auto b = pair ? load(rows[r + 1] + at) : a;
      const int second = pair ? weights[r + 1] : 0;
      const auto weight = _mm256_set1_epi16(static_cast<short>(weights[r] | (second << 8)));
      low = _mm256_add_epi16(low, _mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), weight));
      high = _mm256_add_epi16(high, _mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), weight));
    }
    store(out + at, _mm256_packus_epi16(rounded(low), rounded(high)));
  }
  for (; at < bytes; ++at) {
    int sum = 64;
    for (int r = 0; r < count; ++r) sum += rows[r][at] * weights[r];
    out[at] = static_cast<Byte>(sum >> 7);
  }
}

struct ScaleStep {
  const Byte* row;
  const int* first;
  const std::int8_t* weights;
  int taps;

  __m128i pixels(int x, int tap) const {
    return loadHalf(row + (static_cast<std::ptrdiff_t>(first[x]) + tap) * 4);
  }
  __m128i fourWeights(int x, int tap) const {
    int bits;
    __builtin_memcpy(&bits, weights + static_cast<std::ptrdiff_t>(x) * taps + tap, sizeof bits);
    return _mm_set1_epi32(bits);
  }
  // Four taps of pixels x and x + 4: in each half, sums of the taps 0 and 1 of all channels, then of 2 and 3.
  __m256i products(int x, int tap) const {
    const auto byChannel = _mm256_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15, 0, 4, 1, 5,
                                            2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const auto byTap = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3, 0, 1, 0, 1, 0, 1, 0,
                                        1, 2, 3, 2, 3, 2, 3, 2, 3);
    const auto source = _mm256_shuffle_epi8(joined(pixels(x, tap), pixels(x + 4, tap)), byChannel);
    const auto weight = _mm256_shuffle_epi8(joined(fourWeights(x, tap), fourWeights(x + 4, tap)), byTap);
    return _mm256_maddubs_epi16(source, weight);
  }
  __m256i sums(int x) const {
    auto all = products(x, 0);
    for (int tap = 4; tap < taps; tap += 4) all = _mm256_add_epi16(all, products(x, tap));
    return all;
  }
  // Pixels x, x + 1 in the lower half, x + 4, x + 5 in the upper one.
  __m256i twoByTwo(int x) const {
    const auto a = sums(x);
    const auto b = sums(x + 1);
    return rounded(_mm256_add_epi16(_mm256_unpacklo_epi64(a, b), _mm256_unpackhi_epi64(a, b)));
  }
};

void scale(const Byte* row, const int* first, const std::int8_t* weights, int taps, int count, Byte* out) {
  const ScaleStep step{row, first, weights, taps};
  for (int x = 0; x < count; x += 8) {
    store(out + static_cast<std::ptrdiff_t>(x) * 4,
          _mm256_packus_epi16(step.twoByTwo(x), step.twoByTwo(x + 2)));
  }
}

// Weighs eight pixels by `weights` (blue, green, red, none); signed bytes as the weights' partner.
__m256i sumsOfSigned(__m256i a, __m256i b, __m256i weights) {
  return _mm256_hadd_epi16(_mm256_maddubs_epi16(weights, a), _mm256_maddubs_epi16(weights, b));
}

int lumaOf(const Byte* pixel) {
  return (16 * pixel[0] + 157 * pixel[1] + 47 * pixel[2] + 16 * 256 + 128) >> 8;
}

// The weights need eight bits without a sign, so the pixels give up theirs: 128 less each, put back at the
// end.
void luma(const Byte* pixels, int count, Byte* y) {
  const auto weights = _mm256_set1_epi32(0x002F9D10);
  const auto signs = _mm256_set1_epi8(static_cast<char>(0x80));
  const auto offset = _mm256_set1_epi16(static_cast<short>(128 * (16 + 157 + 47) + 16 * 256 + 128));
  const auto inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  int x = 0;
  for (; x + 32 <= count; x += 32, pixels += 128) {
    const auto at = [&](int i) { return _mm256_xor_si256(load(pixels + i * 32), signs); };
    const auto a = _mm256_add_epi16(sumsOfSigned(at(0), at(1), weights), offset);
    const auto b = _mm256_add_epi16(sumsOfSigned(at(2), at(3), weights), offset);
    const auto bytes = _mm256_packus_epi16(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8));
    store(y + x, _mm256_permutevar8x32_epi32(bytes, inOrder));
  }
  for (; x < count; ++x, pixels += 4) y[x] = static_cast<Byte>(lumaOf(pixels));
}

__m256i rowMean(const Byte* upper, const Byte* lower) { return _mm256_avg_epu8(load(upper), load(lower)); }

// Eight squares: in each half of the result four mean pixels, of squares 0, 1, 4, 5 and 2, 3, 6, 7.
__m256i squares(const Byte* upper, const Byte* lower) {
  const auto a = _mm256_castsi256_ps(rowMean(upper, lower));
  const auto b = _mm256_castsi256_ps(rowMean(upper + 32, lower + 32));
  const auto even = _mm256_castps_si256(_mm256_shuffle_ps(a, b, 0x88));
  const auto odd = _mm256_castps_si256(_mm256_shuffle_ps(a, b, 0xDD));
  return _mm256_avg_epu8(even, odd);
}

void chromaOf(__m256i a, __m256i b, __m256i weights, Byte* out) {
  const auto offset = _mm256_set1_epi16(static_cast<short>(128 * 256 + 128));
  const auto sums = _mm256_hadd_epi16(_mm256_maddubs_epi16(a, weights), _mm256_maddubs_epi16(b, weights));
  const auto bytes = _mm256_srli_epi16(_mm256_add_epi16(sums, offset), 8);
  // Squares 0 1 4 5 8 9 12 13 and 2 3 6 7 10 11 14 15 as bytes.
  const auto packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(bytes, bytes), 0x08);
  const auto low = _mm256_castsi256_si128(packed);
  const auto order = _mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(low, order));
}

int meanOf(int a, int b) { return (a + b + 1) >> 1; }

void lastChroma(const Byte* upper, const Byte* lower, Byte* cb, Byte* cr) {
  int color[3];
  for (int c = 0; c < 3; ++c)
    color[c] = meanOf(meanOf(upper[c], lower[c]), meanOf(upper[c + 4], lower[c + 4]));
  *cb = static_cast<Byte>((112 * color[0] - 86 * color[1] - 26 * color[2] + 128 * 256 + 128) >> 8);
  *cr = static_cast<Byte>((-10 * color[0] - 102 * color[1] + 112 * color[2] + 128 * 256 + 128) >> 8);
}

void chroma(const Byte* upper, const Byte* lower, int count, Byte* cb, Byte* cr) {
  const auto cbWeights = _mm256_set1_epi32(0x00E6AA70);  // 112, -86, -26, 0
  const auto crWeights = _mm256_set1_epi32(0x00709AF6);  // -10, -102, 112, 0
  int x = 0;
  for (; x + 16 <= count; x += 16, upper += 128, lower += 128) {
    const auto a = squares(upper, lower);
    const auto b = squares(upper + 64, lower + 64);
    chromaOf(a, b, cbWeights, cb + x);
    chromaOf(a, b, crWeights, cr + x);
  }
  for (; x < count; ++x, upper += 8, lower += 8) lastChroma(upper, lower, cb + x, cr + x);
}

}  // namespace

const PixelRows* avx2PixelRows() {
  static constexpr PixelRows kRows{blend, scale, luma, chroma};
  return __builtin_cpu_supports("avx2") ? &kRows : nullptr;
}

}  // namespace tevanto
