#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "control/InputEvents.h"
#include "platform/linux/input/CommandModifier.h"
#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/HeldInput.h"
#include "platform/linux/x11/input/XKeyboard.h"

namespace tevanto {

/// Key strokes of one connection. Nothing here flushes. Main queue.
class XTestKeyboard {
 public:
  XTestKeyboard(std::shared_ptr<XInputConnection> x, HeldInput& held, XKeyboard& keyboard);

  /// Presses or releases a physical key, with the modifiers of `flags` held around it that nobody holds yet.
  /// False for a key that does not exist.
  bool key(const KeyEvent& event, CommandModifier command);
  /// Presses or releases the key that plays, or goes to the next or previous piece. False when the keymap has
  /// none.
  bool mediaKey(MediaKey key, KeyDirection direction);

 private:
  struct Stroke {
    std::uint8_t keycode = 0;
    std::vector<HeldInput::Entry> pressed;
  };

  struct Modifier;
  static const Modifier kShift, kControl, kAlt, kSuper;

  static std::vector<const Modifier*> modifiersOf(const KeyEvent& event, CommandModifier command);
  void press(std::uint8_t keycode, const std::vector<const Modifier*>& modifiers);
  void release(std::uint8_t keycode);

  const std::shared_ptr<XInputConnection> x_;
  HeldInput& held_;
  XKeyboard& keyboard_;
  std::vector<Stroke> strokes_;
};

}  // namespace tevanto
