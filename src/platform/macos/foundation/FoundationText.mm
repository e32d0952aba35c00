#include "platform/macos/foundation/FoundationText.h"

#import <Foundation/Foundation.h>

namespace tevanto {

NSString* foundationText(std::string_view text) {
  NSString* made = [[NSString alloc] initWithBytes:text.data()
                                            length:text.size()
                                          encoding:NSUTF8StringEncoding];
  return made ? made : @"";
}

std::optional<std::string> utf8Text(NSString* text) {
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding];
  if (!bytes) return std::nullopt;
  // Not UTF8String: the text may hold a zero.
  return std::string(static_cast<const char*>(bytes.bytes), bytes.length);
}

}  // namespace tevanto
