#include "app/cli/DefaultsText.h"

#include <boost/json.hpp>
#include <optional>
#include <variant>

#include "core/settings/DefaultsJson.h"
#include "core/settings/DeviceIdentity.h"

namespace tevanto {
namespace {

namespace json = boost::json;
using Type = DefaultsOptions::Type;

std::optional<DefaultsValue> parsed(std::string_view text) {
  boost::system::error_code error;
  const auto value = json::parse(text, error);
  return error ? std::nullopt : defaultsValueOfJson(value);
}

}  // namespace

std::string defaultsText(const DefaultsValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  return json::serialize(jsonOf(value));
}

Result<DefaultsValue> defaultsValueFrom(std::string_view text, Type type) {
  auto value = parsed(text);
  switch (type) {
    case Type::string:
      return DefaultsValue(std::string(text));
    case Type::automatic:
      // A text in quotation marks stays as it was written: only --type string and the shell decide on quotes.
      if (!value || std::holds_alternative<std::string>(*value)) return DefaultsValue(std::string(text));
      return std::move(*value);
    case Type::boolean:
      if (value && std::holds_alternative<bool>(*value)) return std::move(*value);
      return Failure{"A value of type bool is true or false."};
    case Type::integer:
      if (value && std::holds_alternative<std::int64_t>(*value)) return std::move(*value);
      return Failure{"A value of type int is a whole number, like 8."};
    case Type::real:
      if (value && std::holds_alternative<double>(*value)) return std::move(*value);
      if (value && std::holds_alternative<std::int64_t>(*value)) {
        return DefaultsValue(static_cast<double>(std::get<std::int64_t>(*value)));
      }
      return Failure{"A value of type float is a number, like 0.5."};
    case Type::array:
      if (value && std::holds_alternative<std::vector<std::string>>(*value)) return std::move(*value);
      return Failure{R"(A value of type array is a JSON array of strings, like '["a","b"]'.)"};
  }
  return Failure{"There is no such type."};
}

bool isSecretDefault(std::string_view key) {
  return key == kPairingTokenKey || key == "tevanto.turn.credential" || key == "tevanto.turn-credentials.v1";
}

}  // namespace tevanto
