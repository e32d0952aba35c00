#pragma once

#include <functional>
#include <memory>

namespace tevanto {

/// This process as an application of the Mac: whether it has a Dock icon, and its coming forward. Made on the
/// main thread; main queue only.
class AppKitApplication {
 public:
  /// `onReopen`: the user opened the application again, in the Finder or the Dock, while it runs.
  explicit AppKitApplication(std::function<void()> onReopen);
  ~AppKitApplication();
  AppKitApplication(const AppKitApplication&) = delete;
  AppKitApplication& operator=(const AppKitApplication&) = delete;

  /// Regular: with a Dock icon and menus. Accessory: in the menu bar only.
  void becomeRegular();
  void becomeAccessory();
  void activateIgnoringOtherApps();

 private:
  struct Reopening;
  std::unique_ptr<Reopening> reopening_;
};

}  // namespace tevanto
