#pragma once

#include <string>
#include <utility>

#include "app/ui/WindowActivation.h"

namespace tevanto {

/// Brings windows forward by the desktop's own protocol, which favors only those that the user asked for:
/// startup notification on X11, xdg-activation on Wayland. Main thread.
class TokenActivation final : public WindowActivation {
 public:
  /// Keeps the proof that the user asked for the next window.
  void useToken(std::string token) { token_ = std::move(token); }
  void bringForward(QWindow& window) override;

 private:
  std::string token_;
};

}  // namespace tevanto
