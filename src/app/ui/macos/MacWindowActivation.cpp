#include "app/ui/macos/MacWindowActivation.h"

#include <QWindow>

namespace tevanto {

void MacWindowActivation::bringForward(QWindow& window) {
  window.show();
  window.raise();
  window.requestActivate();
}

}  // namespace tevanto
