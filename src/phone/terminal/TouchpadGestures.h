#pragma once

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "phone/terminal/TerminalEvents.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto::phone {

/// TouchpadGestures turns keys and mouse reports of a terminal into commands for the companion's pointer.
/// Motion that arrives together leaves as one command.
class TouchpadGestures {
 public:
  static constexpr double kStep = 20;       // points for an arrow key
  static constexpr double kLongStep = 100;  // with shift
  static constexpr double kColumn = 10;     // points for a cell of the terminal
  static constexpr double kRow = 20;
  static constexpr double kScroll = 60;  // pixels
  static constexpr std::string_view kHelp =
      "arrows/mouse move (shift: far)  space/enter click  d double  r right  g grab/drop  j/k scroll  q quit";

  std::vector<RemoteCommand> handle(const std::vector<TerminalEvent>& events);
  /// The commands that release a held button.
  std::vector<RemoteCommand> finish();
  bool wantsToQuit() const { return quit_; }

 private:
  void handleKey(const TerminalKey& key);
  void handleCharacter(char character);
  void handleMouse(const TerminalMouse& mouse);
  void handleRelease(int button);
  void move(double dx, double dy);
  void flushMotion();
  void add(RemoteCommand command);
  void click(std::string_view button, int count);
  void scroll(double dx, double dy);
  void hold(bool down);

  std::vector<RemoteCommand> commands_;
  double dx_ = 0;
  double dy_ = 0;
  std::optional<std::pair<int, int>> cell_;
  bool pressed_ = false;  // the terminal's left button, not yet known whether for a click or a drag
  bool holding_ = false;  // the companion's left button
  bool quit_ = false;
};

}  // namespace tevanto::phone
