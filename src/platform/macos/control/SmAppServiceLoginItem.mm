#include "platform/macos/control/SmAppServiceLoginItem.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/values/system/LoginItemStates.h"

namespace tevanto {
namespace {

// The numbers that `loginItemStatusOf` takes.
static_assert(SMAppServiceStatusNotRegistered == 0 && SMAppServiceStatusEnabled == 1 &&
              SMAppServiceStatusRequiresApproval == 2 && SMAppServiceStatusNotFound == 3);

Result<void> outcome(BOOL succeeded, NSError* error) {
  if (succeeded) return {};
  return Failure{utf8Text(error.localizedDescription).value_or("unknown error")};
}

}  // namespace

LoginItemStatus SmAppServiceLoginItem::status() {
  @autoreleasepool {
    return loginItemStatusOf(SMAppService.mainAppService.status);
  }
}

Result<void> SmAppServiceLoginItem::registerItem() {
  @autoreleasepool {
    NSError* error = nil;
    const BOOL succeeded = [SMAppService.mainAppService registerAndReturnError:&error];
    return outcome(succeeded, error);
  }
}

Result<void> SmAppServiceLoginItem::unregisterItem() {
  @autoreleasepool {
    NSError* error = nil;
    const BOOL succeeded = [SMAppService.mainAppService unregisterAndReturnError:&error];
    return outcome(succeeded, error);
  }
}

void SmAppServiceLoginItem::openSettings() { [SMAppService openSystemSettingsLoginItems]; }

}  // namespace tevanto
