#pragma once

#include <functional>
#include <string>

namespace tevanto {

class TevantoMacRuntime;

/// UiActions holds everything that the desktop UI may ask for: of the services, of the application and of the
/// desktop. Main queue only.
struct UiActions {
  std::function<void()> requestAccessibility;
  std::function<void()> requestScreenRecording;
  std::function<bool(bool on)> setKeepAwake;  // true when it is now as asked
  std::function<void(bool on)> setLaunchAtLogin;
  std::function<void()> disconnectPhone;
  /// Reads the state again that changes without notice: battery, login item, permissions.
  std::function<void()> refresh;
  std::function<void()> openSetupWindow;
  std::function<void()> quit;
  std::function<void(const std::string& url)> openUrl;
  std::function<void(const std::string& text)> copyText;

  /// The actions that the services carry out; the others are left empty. `runtime` outlives the result.
  static UiActions of(TevantoMacRuntime& runtime);
};

}  // namespace tevanto
