#include "core/settings/UserDefaults.h"

#include <utility>

namespace tevanto {

std::optional<std::string> UserDefaults::string(std::string_view key) const {
  const auto stored = value(key);
  const auto* text = stored ? std::get_if<std::string>(&*stored) : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

std::optional<DefaultsData> UserDefaults::data(std::string_view key) const {
  auto stored = value(key);
  auto* bytes = stored ? std::get_if<DefaultsData>(&*stored) : nullptr;
  return bytes ? std::optional(std::move(*bytes)) : std::nullopt;
}

bool UserDefaults::boolean(std::string_view key) const {
  const auto stored = value(key);
  const auto* flag = stored ? std::get_if<bool>(&*stored) : nullptr;
  return flag && *flag;
}

}  // namespace tevanto
