#pragma once

#include <vector>

#include "control/PowerSources.h"

namespace tevanto::test {

class FakePowerSources final : public PowerSources {
 public:
  std::vector<PowerSource> sources;
  std::vector<PowerSource> snapshot() override { return sources; }

  /// One battery with `percent` of 100, the machine running on `state`.
  void setBattery(int percent, std::string_view state) { sources = {{percent, 100, std::string(state)}}; }
};

}  // namespace tevanto::test
