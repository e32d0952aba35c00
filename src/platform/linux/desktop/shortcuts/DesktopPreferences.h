#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "control/UserPreferences.h"
#include "platform/linux/desktop/applications/DesktopFolders.h"

namespace tevanto {

/// DesktopPreferences presents the user's shortcuts of the desktop (GNOME, Xfce or KDE Plasma) in the form of
/// the symbolic hot keys that system gestures look up. Other desktops define none. Each call reads them anew.
///
/// A shortcut that the user has removed is disabled, and so is one that no key event can express. To do
/// nothing is better than to press other keys instead.
///
/// From a gesture to the keyboard; the example is Xfce with "<Super>Page_Up" for the workspace on the left:
///
///     step                    made by                        example
///     system gesture          MacInputController             "spaceLeft"
///       │
///     hot key number          MacInputController             79
///       │
///     preference dictionary   SymbolicHotKeys asks this      AppleSymbolicHotKeys: 79: enabled, parameters
///       │   ├─ text           ShortcutFiles, or GSettings    left_workspace_key is "<Super>Page_Up"
///       │   └─ key stroke     DesktopShortcut                116 | kSuperKeyBit, no modifiers
///       │
///     virtual key code        MacInputController,            KeyEvent of 116 | kSuperKeyBit
///       │                     DesktopKeyStrokes
///     X keycode               VirtualKeyCodes,               112, while 133 (Super) is held
///                             XTestKeyboard
class DesktopPreferences final : public UserPreferences {
 public:
  /// Session describes the desktop of a session, and its folders.
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
