#pragma once

#include <QString>

namespace tevanto {

/// Returns the tool tip of the icon in the tray: whether a phone is connected, and whether it sees the
/// screen.
QString trayToolTip(bool isClientConnected, bool isMirroring);

}  // namespace tevanto
