#include "platform/macos/foundation/SettingsPage.h"

#import <AppKit/AppKit.h>

#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {

void openSettingsPage(std::string_view url) {
  @autoreleasepool {
    if (NSURL* page = [NSURL URLWithString:foundationText(url)]) [NSWorkspace.sharedWorkspace openURL:page];
  }
}

}  // namespace tevanto
