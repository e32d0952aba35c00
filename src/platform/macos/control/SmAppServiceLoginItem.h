#pragma once

#include "control/LoginItem.h"

namespace tevanto {

/// SmAppServiceLoginItem is the main application as a login item of the service management. The system finds
/// only an installed application bundle.
class SmAppServiceLoginItem final : public LoginItem {
 public:
  LoginItemStatus status() override;
  Result<void> registerItem() override;
  Result<void> unregisterItem() override;
  void openSettings() override;
};

}  // namespace tevanto
