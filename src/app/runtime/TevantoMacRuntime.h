#pragma once

#include <functional>
#include <memory>

namespace tevanto {

class MacLaunchAtLoginController;
class MacPowerManager;
class MacRemoteServer;
class MacSetupWindowPresenter;
class ScreenService;

/// TevantoMacRuntime owns every long-lived service of the process and wires them together. There is one, for
/// as long as the process lives; `start` runs once. Main queue only.
class TevantoMacRuntime {
 public:
  /// Factories holds the functions that make the services of this system. Making one starts nothing.
  struct Factories {
    std::function<std::shared_ptr<MacRemoteServer>()> server;
    std::function<std::shared_ptr<ScreenService>()> screen;
    std::function<std::shared_ptr<MacPowerManager>()> power;
    std::function<std::shared_ptr<MacLaunchAtLoginController>()> launchAtLogin;
    std::function<std::shared_ptr<MacSetupWindowPresenter>()> setupWindow;
  };

  /// Makes the services, in the order of the members above.
  explicit TevantoMacRuntime(const Factories& factories);

  /// Wires the services and starts them. A second call does nothing.
  void start();
  /// Starts the services unless they run, and brings the setup window forward.
  void openSetupWindow();
  /// Releases everything that would outlast the process: the sleep assertion, the advertisement, the ports.
  void willTerminate();

  MacRemoteServer& server() const { return *server_; }
  ScreenService& screen() const { return *screen_; }
  MacPowerManager& power() const { return *power_; }
  MacLaunchAtLoginController& launchAtLogin() const { return *launchAtLogin_; }

 private:
  const std::shared_ptr<MacRemoteServer> server_;
  const std::shared_ptr<ScreenService> screen_;
  const std::shared_ptr<MacPowerManager> power_;
  const std::shared_ptr<MacLaunchAtLoginController> launchAtLogin_;
  const std::shared_ptr<MacSetupWindowPresenter> setupWindow_;
  bool didStart_ = false;
};

}  // namespace tevanto
