#pragma once

#include <functional>
#include <memory>
#include <string_view>

namespace tevanto {

/// ActivationPolicy is the application's appearance among others. `regular` has a Dock icon and menus,
/// `accessory` has an icon in the menu bar only.
enum class ActivationPolicy { accessory, regular };

/// ApplicationPresence sets how the desktop treats the application. Main queue only.
class ApplicationPresence {
 public:
  virtual ~ApplicationPresence() = default;
  virtual void setActivationPolicy(ActivationPolicy policy) = 0;
  virtual void activateIgnoringOtherApps() = 0;
};

/// SetupWindowStyle describes a window. In points, with the origin of the frame at 0,0.
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

/// SetupWindow is a window that closing only hides: ordering it front shows it again. Main queue only.
class SetupWindow {
 public:
  virtual ~SetupWindow() = default;
  virtual void center() = 0;
  virtual void orderFrontAsKey() = 0;
};

/// SetupWindowHost makes the setup window of this system, with its content.
class SetupWindowHost {
 public:
  virtual ~SetupWindowHost() = default;
  /// `onClose` is called each time the user closes the window.
  virtual std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                                  std::function<void()> onClose) = 0;
};

}  // namespace tevanto
