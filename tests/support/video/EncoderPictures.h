#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "screen/picture/PixelBufferPool.h"

namespace tevanto::test {

/// Pictures of known content in I420 or NV12, limited range, that are hard on an encoder in different ways.
/// Nothing random: the same arguments give the same picture.
class EncoderPictures {
 public:
  EncoderPictures(PixelFormat format, int width, int height)
      : pool_(format, width, height, 5), width_(width), height_(height) {}

  /// A page of dark text on light ground, `offset` rows further down on it.
  std::shared_ptr<const PixelBuffer> text(int offset, std::uint32_t page = 1) {
    return draw([&](int x, int y) { return inkAt(x, y + offset, page); }, [](int, int) { return 128; });
  }
  /// Every pixel another: nothing repeats and nothing can be foreseen.
  std::shared_ptr<const PixelBuffer> noise(std::uint32_t seed) {
    return draw([&](int x, int y) { return 16 + mix(seed, x, y) % 220; },
                [&](int x, int y) { return 16 + mix(seed + 77, x, y) % 225; });
  }
  std::shared_ptr<const PixelBuffer> flat(int luma) {
    return draw([&](int, int) { return luma; }, [](int, int) { return 128; });
  }

 private:
  static std::uint32_t mix(std::uint32_t seed, int x, int y) {
    auto value = seed * 2654435761U ^ static_cast<std::uint32_t>(x) * 2246822519U ^
                 static_cast<std::uint32_t>(y) * 3266489917U;
    value ^= value >> 15;
    value *= 2246822519U;
    return value ^ value >> 13;
  }

  /// Letters of 7 by 11 pixels, made of strokes with soft edges, in cells of 8 by 16; words and short lines.
  static std::uint32_t inkAt(int x, int y, std::uint32_t page) {
    constexpr std::uint32_t kGround = 235;
    const int column = x / 8;
    const int row = y / 16;
    const int lineLength = 20 + static_cast<int>(mix(page + 5, 0, row) % 140);
    const int cellX = x % 8;
    const int cellY = y % 16;
    if (column >= lineLength || cellX == 7 || cellY < 3 || cellY > 13) return kGround;
    const std::uint32_t letter = mix(page, column, row) % 40;
    if (letter < 6) return kGround;  // a gap between words
    std::uint32_t ink = 0;
    for (int stroke = 0; stroke < 3; ++stroke)
      ink = std::max(ink, strokeAt(letter, stroke, cellX, cellY - 3));
    return kGround - ink;
  }

  static std::uint32_t strokeAt(std::uint32_t letter, int stroke, int x, int y) {
    const std::uint32_t shape = mix(letter, stroke, 9);
    const bool isUpright = shape % 2 == 0;
    const int place = static_cast<int>(shape / 2 % (isUpright ? 6 : 10));
    const int distance = std::abs((isUpright ? x : y) - place);
    return distance == 0 ? 200 : distance == 1 && shape % 3 == 0 ? 90 : 0;
  }

  template <class Luma, class Chroma>
  std::shared_ptr<const PixelBuffer> draw(Luma luma, Chroma chroma) {
    auto picture = pool_.acquire();
    if (!picture) return nullptr;
    picture->change = {++pictures_, pictures_ - 1, {0, 0, width_, height_}};
    fill(picture->planes()[0], luma);
    const bool isInterleaved = picture->format() == PixelFormat::nv12;
    for (std::size_t plane = 1; plane < picture->planes().size(); ++plane) {
      const int side = static_cast<int>(plane);
      fill(picture->planes()[plane], [&](int x, int y) {
        return isInterleaved ? chroma(x / 2 + 10'000 * (x % 2), y) : chroma(x + 10'000 * (side - 1), y);
      });
    }
    return picture;
  }

  template <class Value>
  static void fill(const PixelPlane& plane, Value value) {
    for (std::size_t y = 0; y < plane.rows; ++y) {
      for (std::size_t x = 0; x < plane.rowBytes; ++x) {
        plane.data[y * plane.stride + x] =
            static_cast<std::byte>(value(static_cast<int>(x), static_cast<int>(y)));
      }
    }
  }

  PixelBufferPool pool_;
  const int width_;
  const int height_;
  std::uint64_t pictures_ = 0;
};

}  // namespace tevanto::test
