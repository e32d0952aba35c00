#pragma once

#include "app/ui/WindowActivation.h"

namespace tevanto {

/// Raises windows of the active application; `ApplicationPresence` decides whether it is active. Main thread.
class MacWindowActivation final : public WindowActivation {
 public:
  void bringForward(QWindow& window) override;
};

}  // namespace tevanto
