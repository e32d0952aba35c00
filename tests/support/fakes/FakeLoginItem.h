#pragma once

#include <optional>
#include <string>

#include "control/LoginItem.h"

namespace tevanto::test {

/// A login item whose registration ends in `afterRegister`, or fails and leaves the status as it is.
class FakeLoginItem final : public LoginItem {
 public:
  LoginItemStatus current = LoginItemStatus::notRegistered;
  LoginItemStatus afterRegister = LoginItemStatus::enabled;
  std::optional<std::string> registerFailure;
  std::optional<std::string> unregisterFailure;
  int registrations = 0;
  int unregistrations = 0;
  int settingsOpened = 0;

  LoginItemStatus status() override { return current; }
  Result<void> registerItem() override {
    ++registrations;
    if (registerFailure) return Failure{*registerFailure};
    current = afterRegister;
    return {};
  }
  Result<void> unregisterItem() override {
    ++unregistrations;
    if (unregisterFailure) return Failure{*unregisterFailure};
    current = LoginItemStatus::notRegistered;
    return {};
  }
  void openSettings() override { ++settingsOpened; }
};

}  // namespace tevanto::test
