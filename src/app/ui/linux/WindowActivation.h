#pragma once

#include <string>

class QWindow;

namespace tevanto {

/// Brings windows forward by the desktop's own protocol, which lets only those come forward who were asked
/// for: startup notification on X11, xdg-activation on Wayland. Main thread.
class WindowActivation {
 public:
  /// Who asked for the next window proves it with this.
  void useToken(std::string token) { token_ = std::move(token); }
  /// Shows the window if it is not, above the others and with the keyboard's focus.
  void bringForward(QWindow& window);

 private:
  std::string token_;
};

}  // namespace tevanto
