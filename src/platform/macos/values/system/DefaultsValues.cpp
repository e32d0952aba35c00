#include "platform/macos/values/system/DefaultsValues.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace tevanto {
namespace {

std::optional<DefaultsValue> strings(const PreferenceValue::Array& elements) {
  std::vector<std::string> texts;
  texts.reserve(elements.size());
  for (const auto& element : elements) {
    const auto* text = std::get_if<std::string>(&element.content);
    if (!text) return std::nullopt;
    texts.push_back(*text);
  }
  return texts;
}

}  // namespace

std::optional<DefaultsValue> defaultsValueOf(const PreferenceValue& stored) {
  return std::visit(
      [](const auto& content) -> std::optional<DefaultsValue> {
        using Content = std::decay_t<decltype(content)>;
        if constexpr (std::is_same_v<Content, PreferenceValue::Array>) {
          return strings(content);
        } else if constexpr (std::is_same_v<Content, PreferenceValue::Dictionary>) {
          return std::nullopt;
        } else {
          return DefaultsValue(content);
        }
      },
      stored.content);
}

}  // namespace tevanto
