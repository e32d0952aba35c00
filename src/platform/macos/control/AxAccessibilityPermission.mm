#include "platform/macos/control/AxAccessibilityPermission.h"

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

#include "platform/macos/foundation/SettingsPage.h"

namespace tevanto {

bool AxAccessibilityPermission::isTrusted() { return AXIsProcessTrusted(); }

void AxAccessibilityPermission::request() {
  @autoreleasepool {
    NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
    AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
    openSettingsPage(kAccessibilitySettingsUrl);
  }
}

}  // namespace tevanto
