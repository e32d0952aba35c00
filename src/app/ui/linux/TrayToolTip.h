#pragma once

#include <QString>

namespace tevanto {

/// What the icon in the tray says to whoever points at it: whether a phone is connected, and whether it sees
/// the screen.
QString trayToolTip(bool isClientConnected, bool isMirroring);

}  // namespace tevanto
