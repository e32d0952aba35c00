#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace tevanto {

/// Where a panel of `size` opens: centred on its anchor (the icon, or an empty rectangle at the pointer where
/// the tray does not tell where the icon is), on the side that has room, within the part of the screen that
/// no panel of the desktop covers. Points of the desktop's coordinates.
QPoint placePanel(const QRect& anchor, const QSize& size, const QRect& available);

}  // namespace tevanto
