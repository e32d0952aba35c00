#pragma once

#include <filesystem>

#include "control/PowerSources.h"

namespace tevanto {

/// The batteries as the kernel shows them under /sys/class/power_supply. Batteries of mice and the like do
/// not count. Main queue only.
class SysfsPowerSources final : public PowerSources {
 public:
  explicit SysfsPowerSources(std::filesystem::path folder = "/sys/class/power_supply");
  std::vector<PowerSource> snapshot() override;

 private:
  std::filesystem::path folder_;
};

}  // namespace tevanto
