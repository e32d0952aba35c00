#pragma once

#include <string>
#include <variant>
#include <vector>

#include "phone/mirror/DecodedPicture.h"

namespace tevanto::phone {

/// WindowMotion is a motion of the mouse, in pixels of the picture.
struct WindowMotion {
  double dx = 0;
  double dy = 0;
};

/// WindowButton is a press or a release of a button of the mouse.
struct WindowButton {
  enum class Button { left, right };
  Button button = Button::left;
  bool isDown = false;
};

/// WindowScroll counts steps of the wheel, positive to the left and up.
struct WindowScroll {
  double dx = 0;
  double dy = 0;
};

/// WindowKey is a pressed key that stands for no text, or one that is held together with control, option or
/// command.
struct WindowKey {
  std::string key;  // as `keyNamed` takes it
  bool shift = false;
  bool option = false;
  bool control = false;
  bool command = false;
};

/// WindowText is text that was typed.
struct WindowText {
  std::string text;  // UTF-8
};

/// WindowClosed tells that the user closed the window.
struct WindowClosed {};

/// WindowEvent is one event of the window.
using WindowEvent =
    std::variant<WindowMotion, WindowButton, WindowScroll, WindowKey, WindowText, WindowClosed>;

/// MirrorWindow is a window that shows the picture. Used on the thread that made it.
class MirrorWindow {
 public:
  virtual ~MirrorWindow() = default;
  virtual void show(const DecodedPicture& picture) = 0;
  /// The events since the last call; never waits. Also redraws the parts that were uncovered.
  virtual std::vector<WindowEvent> takeEvents() = 0;
};

}  // namespace tevanto::phone
