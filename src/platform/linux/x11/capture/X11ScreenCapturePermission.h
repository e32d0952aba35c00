#pragma once

#include <string>

#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto {

/// X11ScreenCapturePermission is granted while an X server answers that has a display and lets its pixels be
/// read. An X server lets each client that may connect read the screen.
class X11ScreenCapturePermission final : public ScreenCapturePermission {
 public:
  /// An empty `displayName` means what DISPLAY says at the time.
  explicit X11ScreenCapturePermission(std::string displayName = {});

  /// Connects and reads a pixel row; blocks for a few round trips.
  bool isGranted() override;
  /// Does nothing: X11 has no such permission to request.
  void request() override {}

 private:
  const std::string displayName_;
};

}  // namespace tevanto
