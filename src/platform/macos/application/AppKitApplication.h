#pragma once

#include <functional>
#include <memory>

namespace tevanto {

/// AppKitApplication controls this process as an application of the Mac: its Dock icon, and its coming
/// forward. Made on the main thread; main queue only.
class AppKitApplication {
 public:
  /// `onReopen` is called when the user opens the application again, in the Finder or the Dock, while it
  /// runs.
  explicit AppKitApplication(std::function<void()> onReopen);
  ~AppKitApplication();
  AppKitApplication(const AppKitApplication&) = delete;
  AppKitApplication& operator=(const AppKitApplication&) = delete;

  /// Regular: with a Dock icon and menus. Accessory: in the menu bar only.
  void becomeRegular();
  void becomeAccessory();
  void activateIgnoringOtherApps();

 private:
  struct Core;
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto
