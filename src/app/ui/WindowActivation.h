#pragma once

class QWindow;

namespace tevanto {

/// WindowActivation brings windows forward in this system's way. Main thread.
class WindowActivation {
 public:
  virtual ~WindowActivation() = default;

  /// Shows the window if it is not, above the others and with the keyboard's focus.
  virtual void bringForward(QWindow& window) = 0;
};

}  // namespace tevanto
