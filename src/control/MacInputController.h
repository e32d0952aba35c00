#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "control/InputEvents.h"
#include "control/SymbolicHotKeys.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto {

class UserPreferences;
class Workspace;

/// MacInputController turns the phone's pointer, keyboard, text and gesture commands into input events. It
/// checks no permission, returns no result, and ignores commands that it cannot use. Main queue only.
class MacInputController {
 public:
  /// The most clicks that one command performs, so that none keeps the main queue busy for good.
  static constexpr std::int64_t kMaxClicks = 1000;

  /// `pointer` receives the pointer's events, `keys` those of the keyboard. They may be the same object.
  MacInputController(InputEvents& pointer, InputEvents& keys, UserPreferences& preferences,
                     Workspace& workspace);

  void handle(const RemoteCommand& command);

 private:
  void movePointer(double dx, double dy);
  void click(const RemoteCommand& command);
  void mouseDown();
  void mouseUp();
  void scroll(double dx, double dy);
  void keyPress(const RemoteCommand& command);
  void keyStroke(std::uint16_t keyCode, const std::vector<RemoteModifier>& modifiers);
  void insertText(std::string_view text);
  void systemGesture(std::string_view gesture);
  void openApplication(std::string_view location);

  InputEvents& pointer_;
  InputEvents& keys_;
  SymbolicHotKeys hotKeys_;
  Workspace& workspace_;
  bool leftButtonDown_ = false;
};

}  // namespace tevanto
