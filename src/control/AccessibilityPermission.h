#pragma once

#include <string_view>

namespace tevanto {

/// The page of the system's settings where the user grants the permission, on a system that has one.
inline constexpr std::string_view kAccessibilitySettingsUrl =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

/// AccessibilityPermission tells whether the system lets this process inject input. Thread-safe; cheap enough
/// to be asked for every command.
class AccessibilityPermission {
 public:
  virtual ~AccessibilityPermission() = default;
  virtual bool isTrusted() = 0;
  /// Asks the system, and so the user, for the permission.
  virtual void request() = 0;
};

}  // namespace tevanto
