#pragma once

#include "control/LoginItem.h"

namespace tevanto {

/// The main application as a login item of the service management. Only an installed application bundle is
/// found.
class SmAppServiceLoginItem final : public LoginItem {
 public:
  LoginItemStatus status() override;
  Result<void> registerItem() override;
  Result<void> unregisterItem() override;
  void openSettings() override;
};

}  // namespace tevanto
