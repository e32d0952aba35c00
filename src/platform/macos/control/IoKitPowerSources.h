#pragma once

#include "control/PowerSources.h"

namespace tevanto {

/// IoKitPowerSources lists the power sources of IOKit: none on a Mac without a battery.
class IoKitPowerSources final : public PowerSources {
 public:
  std::vector<PowerSource> snapshot() override;
};

}  // namespace tevanto
