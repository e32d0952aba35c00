#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "core/Log.h"
#include "core/queue/Published.h"

namespace tevanto {

class LoginItem;
class UserDefaults;

/// MacLaunchAtLoginController keeps the program registered as a login item unless the user has switched that
/// off. Main queue only.
class MacLaunchAtLoginController {
 public:
  static constexpr std::string_view optOutKey = "tevanto.launchAtLogin.optedOut";

  MacLaunchAtLoginController(std::shared_ptr<SerialQueue> mainQueue, LoginItem& item, UserDefaults& defaults,
                             Logger log);

  Published<bool> isEnabled;
  Published<std::string> statusText;

  void refresh();
  /// Once at start-up: registers a program that is not registered, unless the user opted out.
  void applyDefault();
  /// The user's switch.
  void setEnabled(bool enabled);

 private:
  void registerNow();

  LoginItem& item_;
  UserDefaults& defaults_;
  Logger log_;
};

}  // namespace tevanto
