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

/// UiModelSources is everything that the desktop UI shows and may ask for. The UI adds the actions that its
/// toolkit carries out itself: opening links and copying. All references outlive the UI's loop.
struct UiModelSources {
  TevantoMacRuntime& runtime;
  UserDefaults& defaults;
  UiActions operations;
  PublicLinks links;
  /// The display server is gone, and the toolkit ends the process when this returns. On the main thread.
  std::function<void()> displayLost;
};

/// DesktopUi holds the companion's windows and its icon in the tray, with the toolkit's loop that they live
/// on. Made on the main thread, which then runs it. Main queue only, unless a method states otherwise.
class DesktopUi : public ApplicationPresence, public SetupWindowHost {
 public:
  /// A queue whose work runs on the UI's loop.
  virtual std::shared_ptr<SerialQueue> mainQueue() = 0;
  /// Shows `sources` from now on. Once, before `run`.
  virtual void present(UiModelSources sources) = 0;
  /// Keeps the desktop's permission to bring a window forward: a startup notification identifier on X11, an
  /// activation token on Wayland. The next window that is raised uses it up.
  virtual void useActivationToken(const std::string& token) = 0;

  /// Runs the loop until `stop`.
  virtual void run() = 0;
  /// Takes everything off the screen and makes `run` return. Work of the main queue that has not run by then
  /// never runs. From any thread.
  virtual void stop() = 0;
};

}  // namespace tevanto
