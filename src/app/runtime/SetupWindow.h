#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace tevanto {

/// How the application appears among others: `regular` has a Dock icon and menus, `accessory` only lives in
/// the menu bar.
enum class ActivationPolicy { accessory, regular };

/// The application as the desktop sees it. Main queue only.
class ApplicationPresence {
 public:
  virtual ~ApplicationPresence() = default;
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  virtual void activateIgnoringOtherApps() = 0;
};

/// What a window is made of. Points, origin of the frame at 0,0.
struct SetupWindowStyle {
  static constexpr int kWidth = 360;
  static constexpr int kHeight = 520;
  static constexpr std::string_view kTitle = "Tevanto";

  int x = 0;
  int y = 0;
  int width = kWidth;
  int height = kHeight;
  std::string_view title = kTitle;
  bool closable = true;
  bool miniaturizable = true;
  bool resizable = false;
};

/// A window that outlives being closed: ordering it front shows it again. Main queue only.
class SetupWindow {
 public:
  virtual ~SetupWindow() = default;
  virtual void centre() = 0;
  virtual void orderFrontAsKey() = 0;
};

/// Makes the setup window of this system, with its content.
class SetupWindowHost {
 public:
  virtual ~SetupWindowHost() = default;
  /// `onClose` is called each time the user closes the window.
  virtual std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                                  std::function<void()> onClose) = 0;
};

}  // namespace tevanto
