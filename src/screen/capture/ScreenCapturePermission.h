#pragma once

#include <string_view>

namespace tevanto {

/// The page on which the user grants the permission, on a system that has one.
inline constexpr std::string_view kScreenRecordingSettingsUrl =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

/// ScreenCapturePermission tells whether the system lets this process capture the screen. Only `request`
/// shows a question to the user.
/// Thread-safe.
class ScreenCapturePermission {
 public:
  virtual ~ScreenCapturePermission() = default;
  virtual bool isGranted() = 0;
  /// Asks the system, and so the user, for the permission.
  virtual void request() = 0;
};

}  // namespace tevanto
