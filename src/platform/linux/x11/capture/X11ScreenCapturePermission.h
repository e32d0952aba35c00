#pragma once

#include <string>

#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto {

/// An X server lets every client read the screen that it lets connect: the permission is there while a server
/// answers that has a display and gives its pixels away.
class X11ScreenCapturePermission final : public ScreenCapturePermission {
 public:
  /// An empty `displayName` means what DISPLAY says at the time.
  explicit X11ScreenCapturePermission(std::string displayName = {});

  /// Connects and reads a pixel row; blocks for a few round trips.
  bool isGranted() override;
  /// There is nobody to ask.
  void request() override {}

 private:
  const std::string displayName_;
};

}  // namespace tevanto
