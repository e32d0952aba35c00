#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tevanto::phone {

struct TerminalKey {
  enum class Kind { character, enter, up, down, left, right };
  Kind kind = Kind::character;
  char character = 0;
  bool shift = false;  // told for arrow keys only

  bool operator==(const TerminalKey&) const = default;
};

struct TerminalMouse {
  enum class Kind { press, release, motion, wheelUp, wheelDown, wheelLeft, wheelRight };
  Kind kind = Kind::motion;
  int button = 0;  // 0 left, 1 middle, 2 right, 3 none
  int column = 0;
  int row = 0;

  bool operator==(const TerminalMouse&) const = default;
};

using TerminalEvent = std::variant<TerminalKey, TerminalMouse>;

/// Bytes of a terminal to keys and mouse reports (ECMA-48 control sequences, xterm's SGR mouse mode 1006).
/// Sequences may arrive in pieces; unknown ones are skipped.
class TerminalEvents {
 public:
  std::vector<TerminalEvent> feed(std::string_view bytes);

 private:
  /// Takes one key, sequence or report off the front of `pending_`; false when more bytes are needed.
  bool parseOne(std::vector<TerminalEvent>& events);
  bool parseSequence(std::vector<TerminalEvent>& events);

  std::string pending_;
};

}  // namespace tevanto::phone
