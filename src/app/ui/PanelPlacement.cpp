#include "app/ui/PanelPlacement.h"

#include <algorithm>

namespace tevanto {
namespace {

/// Between the anchor, or the edge of the screen, and the panel.
constexpr int kGap = 6;

int within(int position, int length, int from, int span) {
  const int last = from + span - length - kGap;
  // A panel that is larger than the screen shows its beginning.
  return std::max(from + kGap, std::min(position, last));
}

}  // namespace

QPoint placePanel(const QRect& anchor, const QSize& size, const QRect& available) {
  const int x = anchor.x() + (anchor.width() - size.width()) / 2;
  const int below = anchor.y() + anchor.height() + kGap;
  const int above = anchor.y() - size.height() - kGap;
  const int roomBelow = available.y() + available.height() - below;
  const int roomAbove = anchor.y() - kGap - available.y();
  const int y = roomBelow >= size.height() || roomBelow >= roomAbove ? below : above;
  return {within(x, size.width(), available.x(), available.width()),
          within(y, size.height(), available.y(), available.height())};
}

}  // namespace tevanto
