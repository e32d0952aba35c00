#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// PowerSource is one battery or supply. The two capacities have the same unit, which sources choose.
struct PowerSource {
  std::optional<std::int64_t> currentCapacity;
  std::optional<std::int64_t> maxCapacity;
  std::string state;  // `kBatteryPower` while the machine draws from it
};

/// PowerSources reads the machine's batteries and supplies. Main queue only.
class PowerSources {
 public:
  virtual ~PowerSources() = default;
  virtual std::vector<PowerSource> snapshot() = 0;

  static constexpr std::string_view kBatteryPower = "Battery Power";
  static constexpr std::string_view kAcPower = "AC Power";
};

}  // namespace tevanto
