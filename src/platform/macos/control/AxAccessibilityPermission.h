#pragma once

#include "control/AccessibilityPermission.h"

namespace tevanto {

/// AxAccessibilityPermission is the permission under "Accessibility" in the privacy settings.
class AxAccessibilityPermission final : public AccessibilityPermission {
 public:
  bool isTrusted() override;
  /// Shows the system's prompt, and the page on which the user can grant it later. Main queue.
  void request() override;
};

}  // namespace tevanto
