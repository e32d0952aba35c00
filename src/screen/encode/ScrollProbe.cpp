#include "screen/encode/ScrollProbe.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace tevanto {
namespace {

constexpr std::size_t kStripWidth = 16;
constexpr std::size_t kStripDistance = 80;  // pixels: a dozen of them in a picture, two in a narrow pane
constexpr int kRowDistance = 5;             // no divisor of what lines of text are high
constexpr int kLeastHeight = 96;
constexpr std::size_t kLeastStrips = 2;

std::uint32_t sumOfDifferences(const std::uint8_t* a, const std::uint8_t* b, std::size_t count) {
  int sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += std::abs(a[i] - b[i]);
  return static_cast<std::uint32_t>(sum);
}

void copyStrips(const PixelPlane& luma, int row, std::size_t first, std::size_t last, std::uint8_t* out) {
  const auto* from = luma.data + static_cast<std::size_t>(row) * luma.stride;
  for (auto strip = first; strip < last; ++strip, out += kStripWidth) {
    std::memcpy(out, from + strip * kStripDistance, kStripWidth);
  }
}

// What is found stands out by a third from all that is not next to it: lines of text are alike from afar.
bool standsOut(const std::vector<std::uint32_t>& distance, std::size_t best) {
  auto second = std::numeric_limits<std::uint32_t>::max();
  for (std::size_t i = 0; i < distance.size(); ++i) {
    if (i + 2 < best || i > best + 2) second = std::min(second, distance[i]);
  }
  return second / 10 * 7 > distance[best];
}

}  // namespace

std::optional<int> ScrollProbe::measure(const PixelPlane& luma, const PixelRect& changed) {
  const auto columns = luma.rowBytes < kStripWidth ? 0 : (luma.rowBytes - kStripWidth) / kStripDistance + 1;
  const auto bytes = columns * kStripWidth * luma.rows;
  if (columns != columns_ || previous_.size() != bytes) {
    columns_ = columns;
    previous_.assign(bytes, 0);
    remember(luma, {0, 0, static_cast<int>(luma.rowBytes), static_cast<int>(luma.rows)});
    return std::nullopt;
  }
  const auto window = windowOf(changed);
  const auto found = window.bytes == 0 ? std::nullopt : shiftWithin(window, luma);
  remember(luma, changed);
  return found;
}

ScrollProbe::Window ScrollProbe::windowOf(const PixelRect& changed) const {
  if (changed.height < kLeastHeight) return {};
  const auto left = static_cast<std::size_t>(std::max(0, changed.x));
  const auto right = static_cast<std::size_t>(std::max(0, changed.x + changed.width));
  const auto first = (left + kStripDistance - 1) / kStripDistance;
  const auto last = right < kStripWidth ? 0 : std::min(columns_, (right - kStripWidth) / kStripDistance + 1);
  if (last < first + kLeastStrips) return {};
  const int reach = std::min(kFarthest, changed.height / 3);
  return {first * kStripWidth, (last - first) * kStripWidth, changed.y + reach,
          changed.y + changed.height - reach, reach};
}

std::optional<int> ScrollProbe::shiftWithin(const Window& window, const PixelPlane& luma) {
  sample_.clear();
  const auto first = window.begin / kStripWidth;
  for (int y = window.top; y < window.bottom; y += kRowDistance) {
    sample_.resize(sample_.size() + window.bytes);
    copyStrips(luma, y, first, first + window.bytes / kStripWidth,
               sample_.data() + sample_.size() - window.bytes);
  }
  distance_.clear();
  for (int shift = -window.reach; shift <= window.reach; ++shift) {
    distance_.push_back(difference(window, shift));
  }
  const auto best =
      static_cast<std::size_t>(std::min_element(distance_.begin(), distance_.end()) - distance_.begin());
  const int shift = static_cast<int>(best) - window.reach;
  if (shift == 0 || !standsOut(distance_, best)) return std::nullopt;
  return shift;
}

std::uint32_t ScrollProbe::difference(const Window& window, int shift) const {
  const auto stride = columns_ * kStripWidth;
  const auto* now = sample_.data();
  std::uint32_t sum = 0;
  for (int y = window.top; y < window.bottom; y += kRowDistance, now += window.bytes) {
    const auto* before = previous_.data() + static_cast<std::size_t>(y + shift) * stride + window.begin;
    sum += sumOfDifferences(now, before, window.bytes);
  }
  return sum;
}

void ScrollProbe::remember(const PixelPlane& luma, const PixelRect& changed) {
  const int bottom = std::min(changed.y + changed.height, static_cast<int>(luma.rows));
  for (int y = std::max(0, changed.y); y < bottom; ++y) {
    copyStrips(luma, y, 0, columns_, previous_.data() + static_cast<std::size_t>(y) * columns_ * kStripWidth);
  }
}

}  // namespace tevanto
