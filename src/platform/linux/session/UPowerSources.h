#pragma once

#include <filesystem>
#include <optional>

#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/session/SysfsPowerSources.h"

namespace tevanto {

/// UPowerSources reads the batteries from UPower where it runs, else from the kernel. UPower is not started
/// for this. A snapshot takes a few milliseconds. With a UPower that hangs it takes the bus timeout once, and
/// the next `kSnapshotsWithoutHungService` do not ask it. Main queue only.
class UPowerSources final : public PowerSources {
 public:
  static constexpr int kSnapshotsWithoutHungService = 10;

  explicit UPowerSources(BusAddress systemBus = BusAddress::system(),
                         std::filesystem::path sysfsFolder = "/sys/class/power_supply");
  std::vector<PowerSource> snapshot() override;

 private:
  std::optional<std::vector<PowerSource>> ask();
  std::optional<std::vector<PowerSource>> askFailed(const BusError& error);

  BusAddress systemBus_;
  SysfsPowerSources kernel_;
  int skipped_ = 0;
};

}  // namespace tevanto
