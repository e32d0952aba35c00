#pragma once

#include "control/PowerSources.h"

namespace tevanto {

/// The power sources that IOKit lists: none on a Mac without a battery.
class IoKitPowerSources final : public PowerSources {
 public:
  std::vector<PowerSource> snapshot() override;
};

}  // namespace tevanto
