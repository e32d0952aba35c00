#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "screen/picture/PixelBuffer.h"
#include "tests/support/desktop/DrawingXClient.h"

namespace tevanto::test {

/// What a desktop shows, at its hardest for scaling: lines of small high-contrast glyphs, a zone plate that
/// holds every frequency, a smooth slope and saturated colors.
inline RgbPicture desktopPicture(int width, int height, unsigned seed = 1) {
  RgbPicture picture{width, height, {}};
  picture.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  std::mt19937 random(seed);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::uint32_t pixel = 0xFFFFFF;
      if (y < height / 2 && x < width / 2) {
        const bool ink = y % 16 < 11 && x % 9 < 7 && random() % 3 == 0;
        pixel = ink ? 0x101820 : 0xF8F8F2;
      } else if (y < height / 2) {
        const double dx = x - width * 0.75;
        const double dy = y - height * 0.25;
        const auto level =
            static_cast<std::uint32_t>(127.5 + 127.5 * std::cos((dx * dx + dy * dy) * 3.1 / width));
        pixel = level << 16 | level << 8 | level;
      } else if (x < width / 2) {
        const auto level = static_cast<std::uint32_t>(x * 510 / width % 256);
        pixel = level << 16 | (255 - level) << 8 | static_cast<std::uint32_t>(y * 255 / height);
      } else {
        constexpr std::uint32_t kColors[] = {0xFF0000, 0x00FF00, 0x0000FF, 0x00FFFF, 0xFF00FF, 0xFFFF00};
        pixel = kColors[(static_cast<unsigned>(x) / 31 + static_cast<unsigned>(y) / 29) % 6];
      }
      picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)] = pixel;
    }
  }
  return picture;
}

/// Planes of real numbers: red, green and blue, or luma and chroma.
struct RealPlane {
  int width = 0;
  int height = 0;
  std::vector<double> values;

  double& at(int x, int y) {
    return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
  double at(int x, int y) const { return const_cast<RealPlane*>(this)->at(x, y); }
};

/// One channel of `picture` (`shift`: 16 red, 8 green, 0 blue).
inline RealPlane channelOf(const RgbPicture& picture, int shift) {
  RealPlane plane{picture.width, picture.height, {}};
  for (const auto pixel : picture.pixels) plane.values.push_back((pixel >> shift) & 0xFF);
  return plane;
}

/// The exact area filter: the mean of what each output pixel covers.
inline RealPlane areaScaled(const RealPlane& source, int width, int height) {
  const auto along = [](int sourceLength, int outputLength, const auto& value) {
    std::vector<double> out;
    const double ratio = static_cast<double>(sourceLength) / outputLength;
    for (int i = 0; i < outputLength; ++i) {
      const double begin = i * ratio;
      const double end = (i + 1) * ratio;
      double sum = 0;
      for (int s = static_cast<int>(begin); s < sourceLength && s < end; ++s) {
        sum += value(s) * (std::min(end, s + 1.0) - std::max(begin, static_cast<double>(s)));
      }
      out.push_back(sum / ratio);
    }
    return out;
  };
  RealPlane narrow{width, source.height, {}};
  for (int y = 0; y < source.height; ++y) {
    const auto row = along(source.width, width, [&](int x) { return source.at(x, y); });
    narrow.values.insert(narrow.values.end(), row.begin(), row.end());
  }
  RealPlane result{width, height,
                   std::vector<double>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height))};
  for (int x = 0; x < width; ++x) {
    const auto column = along(source.height, height, [&](int y) { return narrow.at(x, y); });
    for (int y = 0; y < height; ++y) result.at(x, y) = column[static_cast<std::size_t>(y)];
  }
  return result;
}

/// ITU-R BT.709 in limited range, 4:2:0, each chroma sample the mean of four pixels: Y, Cb, Cr.
inline std::vector<RealPlane> ycbcrOf(const RealPlane& red, const RealPlane& green, const RealPlane& blue) {
  RealPlane y{red.width, red.height, {}};
  RealPlane cb{red.width / 2, red.height / 2, {}};
  RealPlane cr = cb;
  const auto lumaAt = [&](int px, int py) {
    return 0.2126 * red.at(px, py) + 0.7152 * green.at(px, py) + 0.0722 * blue.at(px, py);
  };
  for (int py = 0; py < y.height; ++py)
    for (int px = 0; px < y.width; ++px) y.values.push_back(16 + 219.0 / 255 * lumaAt(px, py));
  const auto mean = [](int cx, int cy, const auto& value) {
    return (value(2 * cx, 2 * cy) + value(2 * cx + 1, 2 * cy) + value(2 * cx, 2 * cy + 1) +
            value(2 * cx + 1, 2 * cy + 1)) /
           4;
  };
  for (int cy = 0; cy < cb.height; ++cy) {
    for (int cx = 0; cx < cb.width; ++cx) {
      const double bright = mean(cx, cy, lumaAt);
      const auto blueAt = [&](int px, int py) { return blue.at(px, py); };
      const auto redAt = [&](int px, int py) { return red.at(px, py); };
      cb.values.push_back(128 + 224.0 / 255 * (mean(cx, cy, blueAt) - bright) / 1.8556);
      cr.values.push_back(128 + 224.0 / 255 * (mean(cx, cy, redAt) - bright) / 1.5748);
    }
  }
  return {y, cb, cr};
}

/// Peak signal to noise, in decibels, of a plane of bytes against what it should be.
inline double psnr(const PixelPlane& plane, const RealPlane& truth) {
  double squares = 0;
  for (int y = 0; y < truth.height; ++y) {
    const auto* row = plane.data + static_cast<std::size_t>(y) * plane.stride;
    for (int x = 0; x < truth.width; ++x) {
      const double error = std::to_integer<int>(row[x]) - truth.at(x, y);
      squares += error * error;
    }
  }
  const double mean = squares / (static_cast<double>(truth.width) * truth.height);
  return mean == 0 ? 99 : 10 * std::log10(255 * 255 / mean);
}

}  // namespace tevanto::test
