#include "platform/macos/control/IoKitSleepAssertions.h"

#import <Foundation/Foundation.h>
#import <IOKit/pwr_mgt/IOPMLib.h>

#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {

SleepAssertions::Created IoKitSleepAssertions::create(std::string_view type, std::string_view reason) {
  @autoreleasepool {
    IOPMAssertionID identifier = kIOPMNullAssertionID;
    const IOReturn code =
        IOPMAssertionCreateWithName((__bridge CFStringRef)foundationText(type), kIOPMAssertionLevelOn,
                                    (__bridge CFStringRef)foundationText(reason), &identifier);
    return {code, identifier};
  }
}

SleepAssertions::Code IoKitSleepAssertions::release(std::uint32_t identifier) {
  return IOPMAssertionRelease(identifier);
}

}  // namespace tevanto
