#include "platform/macos/foundation/Entitlements.h"

#import <Security/Security.h>

#include "platform/macos/foundation/CfOwned.h"

namespace tevanto {

bool isEntitled(NSString* entitlement) {
  const auto task = CfOwned<SecTaskRef>(SecTaskCreateFromSelf(kCFAllocatorDefault));
  if (!task) return false;
  const auto value = CfOwned<CFTypeRef>(
      SecTaskCopyValueForEntitlement(task.get(), (__bridge CFStringRef)entitlement, nullptr));
  return static_cast<bool>(value);
}

}  // namespace tevanto
