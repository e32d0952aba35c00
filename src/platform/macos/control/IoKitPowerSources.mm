#include "platform/macos/control/IoKitPowerSources.h"

#import <Foundation/Foundation.h>
#import <IOKit/ps/IOPSKeys.h>
#import <IOKit/ps/IOPowerSources.h>

#include "platform/macos/foundation/CfOwned.h"
#include "platform/macos/foundation/PropertyListValue.h"
#include "platform/macos/values/system/PowerSourceDescription.h"

namespace tevanto {

static_assert(powerSourceKey::kCurrentCapacity == kIOPSCurrentCapacityKey &&
              powerSourceKey::kMaxCapacity == kIOPSMaxCapacityKey &&
              powerSourceKey::kState == kIOPSPowerSourceStateKey &&
              PowerSources::kBatteryPower == kIOPSBatteryPowerValue);

std::vector<PowerSource> IoKitPowerSources::snapshot() {
  @autoreleasepool {
    std::vector<PowerSource> sources;
    const CfOwned<CFTypeRef> information(IOPSCopyPowerSourcesInfo());
    if (!information) return sources;
    NSArray* listed = CFBridgingRelease(IOPSCopyPowerSourcesList(information.get()));
    for (id source in listed) {
      // It belongs to the snapshot.
      CFDictionaryRef description =
          IOPSGetPowerSourceDescription(information.get(), (__bridge CFTypeRef)source);
      if (const auto value = preferenceValueOf((__bridge NSDictionary*)description))
        sources.push_back(powerSourceOf(*value));
    }
    return sources;
  }
}

}  // namespace tevanto
