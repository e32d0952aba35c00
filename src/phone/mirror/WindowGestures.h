#pragma once

#include <string>
#include <vector>

#include "phone/mirror/MirrorWindow.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto::phone {

/// WindowGestures turns the events of the mirror's window into commands for the companion's pointer and keys.
/// Motion that arrives together leaves as one command.
class WindowGestures {
 public:
  static constexpr double kWheelStep = 60;  // pixels

  std::vector<RemoteCommand> handle(const std::vector<WindowEvent>& events);
  /// Releases the keys and buttons that are held.
  std::vector<RemoteCommand> finish();
  bool wantsToClose() const { return closed_; }

 private:
  void on(const WindowMotion& motion);
  void on(const WindowButton& button);
  void on(const WindowScroll& scroll);
  void on(const WindowKey& key);
  void on(const WindowText& text);
  void on(const WindowClosed&) { closed_ = true; }
  void flushMotion();
  void add(RemoteCommand command);

  std::vector<RemoteCommand> commands_;
  double dx_ = 0;
  double dy_ = 0;
  bool pressed_ = false;  // the window's left button, not yet known whether for a click or a drag
  bool holding_ = false;  // the companion's left button
  bool closed_ = false;
};

}  // namespace tevanto::phone
