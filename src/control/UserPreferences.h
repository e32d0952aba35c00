#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tevanto {

/// PreferenceValue is a value of the user's preferences, of one of the property list types that are used
/// here.
struct PreferenceValue {
  using Array = std::vector<PreferenceValue>;
  using Dictionary = std::map<std::string, PreferenceValue, std::less<>>;
  using Data = std::vector<std::byte>;

  std::variant<bool, std::int64_t, double, std::string, Array, Dictionary, Data> content;

  const Array* array() const { return std::get_if<Array>(&content); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&content); }
  /// The member under `key`, when this is a dictionary that has one.
  const PreferenceValue* member(std::string_view key) const {
    const auto* members = dictionary();
    if (!members) return nullptr;
    const auto found = members->find(key);
    return found == members->end() ? nullptr : &found->second;
  }
};

/// UserPreferences reads the preferences that the user has set in the system, afresh with every call.
class UserPreferences {
 public:
  virtual ~UserPreferences() = default;
  virtual std::optional<PreferenceValue> value(std::string_view key, std::string_view domain) = 0;
};

}  // namespace tevanto
