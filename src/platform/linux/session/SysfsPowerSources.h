#pragma once

#include <filesystem>

#include "control/PowerSources.h"

namespace tevanto {

/// SysfsPowerSources reads the batteries that the kernel shows under /sys/class/power_supply. Batteries of
/// mice and similar devices do not count. Main queue only.
class SysfsPowerSources final : public PowerSources {
 public:
  explicit SysfsPowerSources(std::filesystem::path folder = "/sys/class/power_supply");
  std::vector<PowerSource> snapshot() override;

 private:
  std::filesystem::path folder_;
};

}  // namespace tevanto
