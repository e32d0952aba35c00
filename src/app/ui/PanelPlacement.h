#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace tevanto {

/// Returns the place at which a panel of `size` opens: centered on its anchor, on the side that has room,
/// within `available`, the part of the screen that no panel of the desktop covers. The anchor is the icon, or
/// an empty rectangle at the pointer where the tray does not report the icon's place. Points of the desktop's
/// coordinates.
QPoint placePanel(const QRect& anchor, const QSize& size, const QRect& available);

}  // namespace tevanto
