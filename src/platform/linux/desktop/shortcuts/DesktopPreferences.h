#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "control/UserPreferences.h"
#include "platform/linux/desktop/applications/DesktopFolders.h"

namespace tevanto {

/// The user's own shortcuts of the desktop (GNOME, Xfce or KDE Plasma), in the shape of the symbolic hot keys
/// that system gestures look up. Other desktops define none. Read afresh with every call.
///
/// A shortcut that the user has taken away is disabled, and so is one that no key event can express: to do
/// nothing is better than to press other keys instead.
class DesktopPreferences final : public UserPreferences {
 public:
  struct Session {
    std::string currentDesktop;  // as XDG_CURRENT_DESKTOP has it, "ubuntu:GNOME"
    DesktopFolders folders;
  };
  static Session sessionOfThisProcess();

  explicit DesktopPreferences(Session session);

  std::optional<PreferenceValue> value(std::string_view key, std::string_view domain) override;

 private:
  Session session_;
};

}  // namespace tevanto
