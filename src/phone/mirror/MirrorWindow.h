#pragma once

#include <string>
#include <variant>
#include <vector>

#include "phone/mirror/DecodedPicture.h"

namespace tevanto::phone {

/// The mouse moved by so much, in pixels of the picture.
struct WindowMotion {
  double dx = 0;
  double dy = 0;
};

struct WindowButton {
  enum class Button { left, right };
  Button button = Button::left;
  bool isDown = false;
};

/// Steps of the wheel, positive to the left and up.
struct WindowScroll {
  double dx = 0;
  double dy = 0;
};

/// A key that stands for no text, or one that is held together with control, option or command.
struct WindowKey {
  std::string key;  // as `keyNamed` takes it
  bool shift = false;
  bool option = false;
  bool control = false;
  bool command = false;
};

struct WindowText {
  std::string text;  // UTF-8
};

struct WindowClosed {};

using WindowEvent =
    std::variant<WindowMotion, WindowButton, WindowScroll, WindowKey, WindowText, WindowClosed>;

/// MirrorWindow is a window that shows the picture. Used on the thread that made it.
class MirrorWindow {
 public:
  virtual ~MirrorWindow() = default;
  virtual void show(const DecodedPicture& picture) = 0;
  /// What happened since the last call; never waits. Also redraws what was uncovered.
  virtual std::vector<WindowEvent> takeEvents() = 0;
};

}  // namespace tevanto::phone
