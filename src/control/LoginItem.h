#pragma once

#include "core/Result.h"

namespace tevanto {

/// LoginItemStatus is the state of the registration, as the system reports it.
enum class LoginItemStatus { notRegistered, enabled, requiresApproval, notFound, unknown };

/// LoginItem is the registration that starts this program after the user logs in. Main queue only.
class LoginItem {
 public:
  virtual ~LoginItem() = default;
  virtual LoginItemStatus status() = 0;
  virtual Result<void> registerItem() = 0;
  virtual Result<void> unregisterItem() = 0;
  /// Shows the user where login items are approved.
  virtual void openSettings() = 0;
};

}  // namespace tevanto
