#pragma once

#include "control/PowerSources.h"

namespace tevanto {

/// What the kernel knows of the batteries while the program starts, and what the system's service knows after
/// that: the service may take its time, and nothing may delay the start. Main queue only.
class StartupPowerSources final : public PowerSources {
 public:
  StartupPowerSources(PowerSources& kernel, PowerSources& service) : kernel_(kernel), service_(service) {}

  std::vector<PowerSource> snapshot() override { return (started_ ? service_ : kernel_).snapshot(); }
  void started() { started_ = true; }

 private:
  PowerSources& kernel_;
  PowerSources& service_;
  bool started_ = false;
};

}  // namespace tevanto
