#include "app/ui/linux/TrayToolTip.h"

#include <QCoreApplication>

namespace tevanto {

QString trayToolTip(bool isClientConnected, bool isMirroring) {
  // The two connections are separate: the screen may be seen while the control connection is being made anew.
  if (isMirroring)
    return QCoreApplication::translate("TrayToolTip", "Tevanto: your screen is being mirrored");
  if (isClientConnected) {
    return QCoreApplication::translate("TrayToolTip",
                                       "Tevanto: a phone is connected; your screen is not mirrored");
  }
  return QCoreApplication::translate("TrayToolTip", "Tevanto: no phone is connected");
}

}  // namespace tevanto
