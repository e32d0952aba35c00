#pragma once

#include <string_view>

namespace tevanto {

/// Where the user grants the permission on a system that has such a page.
inline constexpr std::string_view kScreenRecordingSettingsUrl =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

/// Whether the system lets this process capture the screen. May be asked from any thread; asks nobody.
class ScreenCapturePermission {
 public:
  virtual ~ScreenCapturePermission() = default;
  virtual bool isGranted() = 0;
  /// Asks the system, and so the user, for the permission.
  virtual void request() = 0;
};

}  // namespace tevanto
