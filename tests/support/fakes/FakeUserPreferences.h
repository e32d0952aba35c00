#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "control/UserPreferences.h"

namespace tevanto::test {

/// Preferences by domain and key; counts how often they were read.
class FakeUserPreferences final : public UserPreferences {
 public:
  std::map<std::pair<std::string, std::string>, PreferenceValue> values;
  int reads = 0;

  std::optional<PreferenceValue> value(std::string_view key, std::string_view domain) override {
    ++reads;
    const auto found = values.find({std::string(domain), std::string(key)});
    return found == values.end() ? std::nullopt : std::optional(found->second);
  }

  /// The dictionary of the system's hot keys.
  void setHotKeys(PreferenceValue::Dictionary hotKeys) {
    values[{"com.apple.symbolichotkeys", "AppleSymbolicHotKeys"}] = PreferenceValue{std::move(hotKeys)};
  }
};

}  // namespace tevanto::test
