#include "control/MacLaunchAtLoginController.h"

#include <utility>

#include "control/LoginItem.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {
namespace {

std::string describe(LoginItemStatus status) {
  switch (status) {
    case LoginItemStatus::notRegistered:
      return "Off";
    case LoginItemStatus::enabled:
      return "Starts after login";
    case LoginItemStatus::requiresApproval:
      return "Approval required";
    case LoginItemStatus::notFound:
      return "Install in Applications";
    case LoginItemStatus::unknown:
      break;
  }
  return "Unavailable";
}

}  // namespace

MacLaunchAtLoginController::MacLaunchAtLoginController(std::shared_ptr<SerialQueue> mainQueue,
                                                       LoginItem& item, UserDefaults& defaults, Logger log)
    : isEnabled(mainQueue, false),
      statusText(mainQueue, describe(LoginItemStatus::notRegistered)),
      item_(item),
      defaults_(defaults),
      log_(std::move(log)) {}

void MacLaunchAtLoginController::refresh() {
  const auto status = item_.status();
  isEnabled.set(status == LoginItemStatus::enabled);
  statusText.set(describe(status));
}

void MacLaunchAtLoginController::applyDefault() {
  if (item_.status() == LoginItemStatus::notRegistered && !defaults_.boolean(optOutKey)) {
    registerNow();
  } else {
    refresh();
  }
}

void MacLaunchAtLoginController::setEnabled(bool enabled) {
  const auto stored = enabled ? defaults_.remove(optOutKey) : defaults_.set(optOutKey, true);
  if (!stored) log_.error("storing the choice failed: " + stored.error());
  if (enabled) return registerNow();
  if (const auto result = item_.unregisterItem(); !result) {
    log_.error("unregister failed: " + result.error());
  }
  refresh();
}

void MacLaunchAtLoginController::registerNow() {
  if (const auto result = item_.registerItem(); !result) log_.error("register failed: " + result.error());
  refresh();
  if (item_.status() == LoginItemStatus::requiresApproval) item_.openSettings();
}

}  // namespace tevanto
