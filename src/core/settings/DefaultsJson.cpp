#include "core/settings/DefaultsJson.h"

#include <boost/json.hpp>
#include <string_view>
#include <type_traits>
#include <utility>

#include "core/text/Base64.h"

namespace tevanto {
namespace {

namespace json = boost::json;

constexpr auto kData = "base64";

std::optional<DefaultsValue> dataOf(const json::object& object) {
  const auto* member = object.size() == 1 ? object.if_contains(kData) : nullptr;
  const auto* text = member ? member->if_string() : nullptr;
  auto bytes = text ? fromBase64(std::string_view(text->data(), text->size())) : std::nullopt;
  if (!bytes) return std::nullopt;
  return DefaultsValue(std::move(*bytes));
}

std::optional<DefaultsValue> stringsOf(const json::array& array) {
  std::vector<std::string> strings;
  for (const auto& element : array) {
    if (!element.is_string()) return std::nullopt;
    strings.emplace_back(element.get_string());
  }
  return DefaultsValue(std::move(strings));
}

}  // namespace

json::value jsonOf(const DefaultsValue& value) {
  return std::visit(
      [](const auto& held) -> json::value {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::vector<std::string>>) {
          return json::value(json::array(held.begin(), held.end()));
        } else if constexpr (std::is_same_v<Held, DefaultsData>) {
          return json::value{{kData, base64(held)}};
        } else {
          return json::value(held);
        }
      },
      value);
}

std::optional<DefaultsValue> defaultsValueOfJson(const json::value& stored) {
  switch (stored.kind()) {
    case json::kind::bool_:
      return DefaultsValue(stored.get_bool());
    case json::kind::int64:
      return DefaultsValue(stored.get_int64());
    case json::kind::double_:
      return DefaultsValue(stored.get_double());
    case json::kind::string:
      return DefaultsValue(std::string(stored.get_string()));
    case json::kind::array:
      return stringsOf(stored.get_array());
    case json::kind::object:
      return dataOf(stored.get_object());
    default:
      return std::nullopt;
  }
}

}  // namespace tevanto
