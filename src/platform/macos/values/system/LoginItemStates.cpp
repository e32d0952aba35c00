#include "platform/macos/values/system/LoginItemStates.h"

namespace tevanto {

LoginItemStatus loginItemStatusOf(long serviceStatus) {
  switch (serviceStatus) {
    case 0:
      return LoginItemStatus::notRegistered;
    case 1:
      return LoginItemStatus::enabled;
    case 2:
      return LoginItemStatus::requiresApproval;
    case 3:
      return LoginItemStatus::notFound;
    default:
      return LoginItemStatus::unknown;
  }
}

}  // namespace tevanto
