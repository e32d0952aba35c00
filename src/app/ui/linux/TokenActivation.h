#pragma once

#include <string>
#include <utility>

#include "app/ui/WindowActivation.h"

namespace tevanto {

/// TokenActivation brings windows forward by the desktop's own protocol: startup notification on X11,
/// xdg-activation on Wayland. Desktops favor only windows that the user asked for. Main thread.
class TokenActivation final : public WindowActivation {
 public:
  /// Keeps the proof that the user asked for the next window.
  void useToken(std::string token) { token_ = std::move(token); }
  void bringForward(QWindow& window) override;

 private:
  std::string token_;
};

}  // namespace tevanto
