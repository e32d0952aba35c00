#include "platform/macos/foundation/PropertyListValue.h"

#import <Foundation/Foundation.h>

#include <type_traits>

#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {
namespace {

PreferenceValue numberValue(NSNumber* number) {
  const auto counted = (__bridge CFNumberRef)number;
  // A boolean is a number of a type of its own.
  if (CFGetTypeID(counted) == CFBooleanGetTypeID()) return {static_cast<bool>(number.boolValue)};
  if (CFNumberIsFloatType(counted)) return {number.doubleValue};
  return {static_cast<std::int64_t>(number.longLongValue)};
}

PreferenceValue dataValue(NSData* data) {
  const auto* const bytes = static_cast<const std::byte*>(data.bytes);
  return {PreferenceValue::Data(bytes, bytes + data.length)};
}

PreferenceValue arrayValue(NSArray* array) {
  PreferenceValue::Array elements;
  for (id element in array) {
    if (auto value = preferenceValueOf(element)) elements.push_back(std::move(*value));
  }
  return {std::move(elements)};
}

PreferenceValue dictionaryValue(NSDictionary* dictionary) {
  PreferenceValue::Dictionary members;
  for (id key in dictionary) {
    if (![key isKindOfClass:NSString.class]) continue;
    auto name = utf8Text(key);
    auto value = preferenceValueOf(dictionary[key]);
    if (name && value) members.emplace(std::move(*name), std::move(*value));
  }
  return {std::move(members)};
}

}  // namespace

std::optional<PreferenceValue> preferenceValueOf(id propertyList) {
  if ([propertyList isKindOfClass:NSNumber.class]) return numberValue(propertyList);
  if ([propertyList isKindOfClass:NSArray.class]) return arrayValue(propertyList);
  if ([propertyList isKindOfClass:NSDictionary.class]) return dictionaryValue(propertyList);
  if ([propertyList isKindOfClass:NSData.class]) return dataValue(propertyList);
  if (![propertyList isKindOfClass:NSString.class]) return std::nullopt;
  auto text = utf8Text(propertyList);
  if (!text) return std::nullopt;
  return PreferenceValue{std::move(*text)};
}

id propertyListOf(const DefaultsValue& value) {
  return std::visit(
      [](const auto& content) -> id {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, std::string>) {
          return foundationText(content);
        } else if constexpr (std::is_same_v<Content, std::vector<std::string>>) {
          NSMutableArray* texts = [NSMutableArray array];
          for (const auto& text : content) [texts addObject:foundationText(text)];
          return texts;
        } else if constexpr (std::is_same_v<Content, DefaultsData>) {
          return [NSData dataWithBytes:content.data() length:content.size()];
        } else if constexpr (std::is_same_v<Content, bool>) {
          return content ? @YES : @NO;
        } else if constexpr (std::is_same_v<Content, double>) {
          return @(content);
        } else {
          return [NSNumber numberWithLongLong:content];
        }
      },
      value);
}

}  // namespace tevanto
