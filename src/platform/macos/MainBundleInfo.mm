#include "platform/macos/MainBundleInfo.h"

#import <Foundation/Foundation.h>

#include "platform/macos/FoundationText.h"

namespace tevanto {

InfoPlist mainBundleInfo(const Logger& log) {
  @autoreleasepool {
    NSDictionary* information = NSBundle.mainBundle.infoDictionary;
    if (!information) return {};
    NSError* error = nil;
    NSData* list = [NSPropertyListSerialization dataWithPropertyList:information
                                                              format:NSPropertyListXMLFormat_v1_0
                                                             options:0
                                                               error:&error];
    if (!list) {
      log.error("main bundle: " + utf8Text(error.localizedDescription).value_or("no information"));
      return {};
    }
    auto parsed = InfoPlist::parse({static_cast<const std::byte*>(list.bytes), list.length});
    if (parsed) return std::move(parsed).value();
    log.error("main bundle: " + parsed.error());
    return {};
  }
}

}  // namespace tevanto
