#pragma once

#include <atomic>
#include <vector>

#include "control/PowerSources.h"
#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto {

/// StartupDeferrals keeps slow services of the system from delaying the program's start. They are not asked
/// before `started` was called.
///
/// `started` and `powerSources` are for the main queue; `screenPermission` is for any thread.
class StartupDeferrals {
 public:
  /// Before the start `kernel` answers for the batteries, and after it `service`. All of them outlive this.
  StartupDeferrals(PowerSources& kernel, PowerSources& service, ScreenCapturePermission& permission)
      : powerSources_(kernel, service), screenPermission_(permission) {}

  PowerSources& powerSources() { return powerSources_; }
  /// Not granted before the start. A request goes to the system at any time.
  ScreenCapturePermission& screenPermission() { return screenPermission_; }

  void started() {
    powerSources_.started();
    screenPermission_.started();
  }

 private:
  /// DeferredPowerSources asks the kernel before the start, and the service after it.
  class DeferredPowerSources final : public PowerSources {
   public:
    DeferredPowerSources(PowerSources& kernel, PowerSources& service) : kernel_(kernel), service_(service) {}

    std::vector<PowerSource> snapshot() override { return (hasStarted_ ? service_ : kernel_).snapshot(); }
    void started() { hasStarted_ = true; }

   private:
    PowerSources& kernel_;
    PowerSources& service_;
    bool hasStarted_ = false;
  };

  /// DeferredScreenPermission does not ask for the state of the permission before the start.
  class DeferredScreenPermission final : public ScreenCapturePermission {
   public:
    explicit DeferredScreenPermission(ScreenCapturePermission& permission) : permission_(permission) {}

    bool isGranted() override { return hasStarted_ && permission_.isGranted(); }
    void request() override { permission_.request(); }
    void started() { hasStarted_ = true; }

   private:
    ScreenCapturePermission& permission_;
    std::atomic<bool> hasStarted_ = false;
  };

  DeferredPowerSources powerSources_;
  DeferredScreenPermission screenPermission_;
};

}  // namespace tevanto
