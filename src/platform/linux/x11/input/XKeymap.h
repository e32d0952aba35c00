#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/x11/XInputConnection.h"

namespace tevanto {

/// KeyboardState is the state of the keyboard at one moment: the layout group, and modifiers as X's eight
/// bits.
struct KeyboardState {
  std::uint8_t group = 0;
  std::uint8_t heldModifiers = 0;
  std::uint8_t latchedModifiers = 0;
  std::uint8_t lockedModifiers = 0;
  bool operator==(const KeyboardState&) const = default;
};

/// The key that types a character, and what must be held with it.
struct TypingStroke {
  std::uint8_t keycode = 0;
  bool shift = false;
  bool thirdLevel = false;
};

/// The server's keymap, as it was when it was loaded. Its answers are worked out the way toolkits do it, by
/// libxkbcommon. Main queue.
class XKeymap {
 public:
  /// Blocks for a few round trips; null when the server is gone.
  static std::unique_ptr<XKeymap> load(const XInputConnection& x);
  ~XKeymap();

  /// The X keysym (X protocol, appendix A) of a character from a space on; 0 for one that cannot be typed. It
  /// is never one of the old sets': Xlib, among others, has its own view of hundreds of those.
  static std::uint32_t keysymOf(char32_t character);

  /// Key codes whose keysyms are only borrowed, so that no stroke is found on them.
  void leaveOut(std::vector<std::uint8_t> keycodes);
  /// How to type `character` in this state of the keyboard; nothing when no key of the layout does it.
  std::optional<TypingStroke> strokeFor(char32_t character, const KeyboardState& state);
  /// The first key that has `keysym`, on its first level, in any group.
  std::optional<std::uint8_t> keyOf(std::uint32_t keysym) const;
  /// Key codes that have no keysym at all, in ascending order.
  std::vector<std::uint8_t> unusedKeycodes() const;
  /// The keysym of a key code without modifiers; 0 for none.
  std::uint32_t keysymAt(std::uint8_t keycode) const;

  std::uint8_t shiftKey() const;
  std::optional<std::uint8_t> thirdLevelKey() const;

 private:
  struct Tables;
  explicit XKeymap(std::unique_ptr<Tables> tables);
  void indexStrokes(const KeyboardState& state);

  std::unique_ptr<Tables> tables_;
};

}  // namespace tevanto
