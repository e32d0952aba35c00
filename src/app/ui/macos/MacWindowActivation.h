#pragma once

#include "app/ui/WindowActivation.h"

namespace tevanto {

/// MacWindowActivation raises windows of the active application; `ApplicationPresence` makes the application
/// active. Main thread.
class MacWindowActivation final : public WindowActivation {
 public:
  void bringForward(QWindow& window) override;
};

}  // namespace tevanto
