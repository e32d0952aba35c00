#include "platform/macos/foundation/CfUserDefaults.h"

#import <Foundation/Foundation.h>

#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/foundation/PropertyListValue.h"
#include "platform/macos/values/system/DefaultsValues.h"

namespace tevanto {
namespace {

CFStringRef bridged(NSString* text) { return (__bridge CFStringRef)text; }

/// The value that counts, which an administrator may have fixed.
id stored(NSString* key, NSString* domain) {
  return CFBridgingRelease(CFPreferencesCopyAppValue(bridged(key), bridged(domain)));
}

/// Nil removes.
Result<void> store(NSString* key, id propertyList, NSString* domain) {
  CFPreferencesSetAppValue(bridged(key), (__bridge CFPropertyListRef)propertyList, bridged(domain));
  if (CFPreferencesAppSynchronize(bridged(domain))) return {};
  return Failure{"The system did not store the preferences of " + utf8Text(domain).value_or("") + "."};
}

}  // namespace

CfUserDefaults::CfUserDefaults(std::string domain) : domain_(std::move(domain)) {}

std::optional<DefaultsValue> CfUserDefaults::value(std::string_view key) const {
  @autoreleasepool {
    const auto found = preferenceValueOf(stored(foundationText(key), foundationText(domain_)));
    return found ? defaultsValueOf(*found) : std::nullopt;
  }
}

Result<void> CfUserDefaults::set(std::string_view key, DefaultsValue value) {
  @autoreleasepool {
    return store(foundationText(key), propertyListOf(value), foundationText(domain_));
  }
}

Result<void> CfUserDefaults::remove(std::string_view key) {
  @autoreleasepool {
    return store(foundationText(key), nil, foundationText(domain_));
  }
}

std::map<std::string, DefaultsValue> CfUserDefaults::all() const {
  @autoreleasepool {
    NSDictionary* own = CFBridgingRelease(CFPreferencesCopyMultiple(
        nullptr, bridged(foundationText(domain_)), kCFPreferencesCurrentUser, kCFPreferencesAnyHost));
    std::map<std::string, DefaultsValue> values;
    const auto members = preferenceValueOf(own);
    if (!members || !members->dictionary()) return values;
    for (const auto& [key, member] : *members->dictionary()) {
      if (auto value = defaultsValueOf(member)) values.emplace(key, std::move(*value));
    }
    return values;
  }
}

bool CfUserDefaults::stringEquals(std::string_view key, std::optional<std::string_view> candidate) const {
  @autoreleasepool {
    id found = stored(foundationText(key), foundationText(domain_));
    if (![found isKindOfClass:NSString.class]) return !candidate;
    return candidate && [found isEqualToString:foundationText(*candidate)];
  }
}

}  // namespace tevanto
