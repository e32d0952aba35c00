#pragma once

#include "control/UserPreferences.h"

namespace tevanto {

/// CfUserPreferences reads the preferences of any application of this user. Any thread.
class CfUserPreferences final : public UserPreferences {
 public:
  std::optional<PreferenceValue> value(std::string_view key, std::string_view domain) override;
};

}  // namespace tevanto
