#include "platform/macos/foundation/MacComputerName.h"

#import <Foundation/Foundation.h>
#import <SystemConfiguration/SystemConfiguration.h>

#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {

std::optional<std::string> macComputerName() {
  @autoreleasepool {
    NSString* name = CFBridgingRelease(SCDynamicStoreCopyComputerName(nullptr, nullptr));
    auto text = utf8Text(name);
    return text && !text->empty() ? text : std::nullopt;
  }
}

}  // namespace tevanto
