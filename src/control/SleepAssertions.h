#pragma once

#include <cstdint>
#include <string_view>

namespace tevanto {

/// SleepAssertions keep the system from idle sleep; the display may still blank and lock. Main queue only.
class SleepAssertions {
 public:
  using Code = std::int32_t;  // 0: success; else a result code of the system, shown to the user in decimal
  /// Created is the outcome of `create`.
  struct Created {
    Code code = 0;
    std::uint32_t identifier = 0;  // only with code 0
  };

  virtual ~SleepAssertions() = default;
  virtual Created create(std::string_view type, std::string_view reason) = 0;
  virtual Code release(std::uint32_t identifier) = 0;

  static constexpr std::string_view kPreventUserIdleSystemSleep = "PreventUserIdleSystemSleep";
};

}  // namespace tevanto
