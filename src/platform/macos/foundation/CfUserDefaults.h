#pragma once

#include <string>

#include "core/settings/UserDefaults.h"

namespace tevanto {

/// CfUserDefaults is the program's own domain in the user's preferences: `defaults read app.tevanto.Tevanto`
/// in a terminal. The next read sees a value that another process has set.
class CfUserDefaults final : public UserDefaults {
 public:
  /// The domain of the program is its bundle identifier. Another one is for tests.
  explicit CfUserDefaults(std::string domain = "app.tevanto.Tevanto");

  std::optional<DefaultsValue> value(std::string_view key) const override;
  Result<void> set(std::string_view key, DefaultsValue value) override;
  Result<void> remove(std::string_view key) override;
  std::map<std::string, DefaultsValue> all() const override;
  bool stringEquals(std::string_view key, std::optional<std::string_view> candidate) const override;

 private:
  const std::string domain_;
};

}  // namespace tevanto
