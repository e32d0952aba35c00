#include "platform/macos/foundation/MainBundleInfo.h"

#import <Foundation/Foundation.h>

#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {
namespace {

/// The members that a property list can hold: the system adds some of its own, such as the list's URL, and
/// with one of those nothing could be written at all.
NSDictionary* ownMembersOf(NSDictionary* information) {
  NSMutableDictionary* members = [NSMutableDictionary dictionary];
  for (NSString* key in information) {
    id member = information[key];
    if ([NSPropertyListSerialization propertyList:member isValidForFormat:NSPropertyListXMLFormat_v1_0])
      members[key] = member;
  }
  return members;
}

}  // namespace

InfoPlist mainBundleInfo(const Logger& log) {
  @autoreleasepool {
    NSDictionary* information = NSBundle.mainBundle.infoDictionary;
    if (!information) return {};
    NSError* error = nil;
    NSData* list = [NSPropertyListSerialization dataWithPropertyList:ownMembersOf(information)
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
