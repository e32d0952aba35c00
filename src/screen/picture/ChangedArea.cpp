#include "screen/picture/ChangedArea.h"

#include <algorithm>
#include <cstddef>

namespace tevanto {
namespace {

// Rows that cost less to read along than another request would.
constexpr int kNearRows = 16;
constexpr std::size_t kMostRects = 8;

int gap(const PixelRect& upper, const PixelRect& lower) { return lower.y - (upper.y + upper.height); }

}  // namespace

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
  const int left = std::max(a.x, b.x);
  const int top = std::max(a.y, b.y);
  const int right = std::min(a.x + a.width, b.x + b.width);
  const int bottom = std::min(a.y + a.height, b.y + b.height);
  return {left, top, std::max(0, right - left), std::max(0, bottom - top)};
}

PixelRect bounds(const PixelRect& a, const PixelRect& b) {
  if (!hasPixels(a)) return b;
  if (!hasPixels(b)) return a;
  const int left = std::min(a.x, b.x);
  const int top = std::min(a.y, b.y);
  const int right = std::max(a.x + a.width, b.x + b.width);
  const int bottom = std::max(a.y + a.height, b.y + b.height);
  return {left, top, right - left, bottom - top};
}

void ChangedArea::add(const PixelRect& rect) {
  if (!hasPixels(rect)) return;
  auto joined = rect;
  const auto joins = [&joined](const PixelRect& other) {
    return gap(joined, other) < kNearRows && gap(other, joined) < kNearRows;
  };
  // Each join may bring another rectangle near.
  for (auto found = std::find_if(rects_.begin(), rects_.end(), joins); found != rects_.end();
       found = std::find_if(rects_.begin(), rects_.end(), joins)) {
    joined = tevanto::bounds(joined, *found);
    rects_.erase(found);
  }
  const auto below =
      std::find_if(rects_.begin(), rects_.end(), [&](const auto& r) { return r.y > joined.y; });
  rects_.insert(below, joined);
  if (rects_.size() <= kMostRects) return;
  const auto all = bounds();
  rects_.assign(1, all);
}

void ChangedArea::add(const ChangedArea& other) {
  for (const auto& rect : other.rects_) add(rect);
}

PixelRect ChangedArea::bounds() const {
  PixelRect all;
  for (const auto& rect : rects_) all = tevanto::bounds(all, rect);
  return all;
}

}  // namespace tevanto
