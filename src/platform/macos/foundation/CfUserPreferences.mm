#include "platform/macos/foundation/CfUserPreferences.h"

#import <Foundation/Foundation.h>

#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/foundation/PropertyListValue.h"

namespace tevanto {

std::optional<PreferenceValue> CfUserPreferences::value(std::string_view key, std::string_view domain) {
  @autoreleasepool {
    NSString* application = foundationText(domain);
    // What was set since the last look is read with it.
    CFPreferencesAppSynchronize((__bridge CFStringRef)application);
    return preferenceValueOf(CFBridgingRelease(CFPreferencesCopyAppValue(
        (__bridge CFStringRef)foundationText(key), (__bridge CFStringRef)application)));
  }
}

}  // namespace tevanto
