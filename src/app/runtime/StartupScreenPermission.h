#pragma once

#include <atomic>

#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto {

/// Says no without asking the display until the program has started, so that the display does not hold up the
/// start.
class StartupScreenPermission final : public ScreenCapturePermission {
 public:
  explicit StartupScreenPermission(ScreenCapturePermission& permission) : permission_(permission) {}

  void started() { hasStarted_ = true; }
  bool isGranted() override { return hasStarted_ && permission_.isGranted(); }
  void request() override { permission_.request(); }

 private:
  ScreenCapturePermission& permission_;
  std::atomic<bool> hasStarted_ = false;
};

}  // namespace tevanto
