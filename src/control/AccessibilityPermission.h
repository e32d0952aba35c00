#pragma once

#include <string_view>

namespace tevanto {

/// Where the user grants the permission on a system that has such a page.
inline constexpr std::string_view kAccessibilitySettingsUrl =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

/// Whether the system lets this process inject input. May be asked from any thread, for every command.
class AccessibilityPermission {
 public:
  virtual ~AccessibilityPermission() = default;
  virtual bool isTrusted() = 0;
  /// Asks the system, and so the user, for the permission.
  virtual void request() = 0;
};

}  // namespace tevanto
