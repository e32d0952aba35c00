#pragma once

namespace tevanto {

/// Whether the system lets this process inject input. May be asked from any thread, for every command.
class AccessibilityPermission {
 public:
  virtual ~AccessibilityPermission() = default;
  virtual bool isTrusted() = 0;
  /// Asks the system, and so the user, for the permission.
  virtual void request() = 0;
};

}  // namespace tevanto
