#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/runtime/PublicLinks.h"
#include "app/runtime/SetupWindow.h"
#include "app/runtime/UiActions.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

class TevantoMacRuntime;
class UserDefaults;

/// What the face shows, and what it may ask for; it adds what its toolkit can do itself, opening and copying.
/// All of it outlives the face's loop.
struct UiModelSources {
  TevantoMacRuntime& runtime;
  UserDefaults& defaults;
  UiActions operations;
  PublicLinks links;
  /// The display server is gone, and the toolkit ends the process when this returns. On the main thread.
  std::function<void()> displayLost;
};

/// The companion's windows and its icon in the tray, with the loop of the toolkit that they live on. Made on
/// the main thread, which then runs it; main queue only, where nothing else is said.
class DesktopUi : public ApplicationPresence, public SetupWindowHost {
 public:
  /// Its work runs on the face's loop.
  virtual std::shared_ptr<SerialQueue> mainQueue() = 0;
  /// From now on it shows `subject`. Once, before `run`.
  virtual void present(UiModelSources subject) = 0;
  /// The desktop's permission to bring a window forward, given to whoever asked for it: a startup
  /// notification identifier on X11, an activation token on Wayland. Used up by the next window that is
  /// raised.
  virtual void useActivationToken(const std::string& token) = 0;

  /// Runs the loop until `stop`.
  virtual void run() = 0;
  /// Takes everything off the screen and makes `run` return; what has not run by then never runs. From any
  /// thread.
  virtual void stop() = 0;
};

}  // namespace tevanto
