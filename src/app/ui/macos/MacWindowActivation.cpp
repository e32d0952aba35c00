#include <QWindow>

#include "app/ui/linux/WindowActivation.h"

namespace tevanto {

// An application that is active may raise its own windows; whether it is, is for ApplicationPresence to see.
void WindowActivation::bringForward(QWindow& window) {
  window.show();
  window.raise();
  window.requestActivate();
}

}  // namespace tevanto
