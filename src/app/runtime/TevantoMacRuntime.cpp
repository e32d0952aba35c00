#include "app/runtime/TevantoMacRuntime.h"

#include <utility>

#include "app/runtime/MacSetupWindowPresenter.h"
#include "app/runtime/ScreenService.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "core/queue/QueueBound.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {

TevantoMacRuntime::TevantoMacRuntime(const Factories& factories)
    : server_(factories.server()),
      screen_(factories.screen()),
      power_(factories.power()),
      launchAtLogin_(factories.launchAtLogin()),
      setupWindow_(factories.setupWindow()) {}

void TevantoMacRuntime::start() {
  if (std::exchange(didStart_, true)) return;
  launchAtLogin_->applyDefault();
  server_->setPower(power_);
  power_->onStateChanged = weakCall(std::weak_ptr(server_), &MacRemoteServer::send);
  server_->setScreen(screen_);
  server_->start();
  screen_->start();
}

void TevantoMacRuntime::openSetupWindow() {
  start();
  setupWindow_->show();
}

void TevantoMacRuntime::willTerminate() {
  power_->appWillTerminate();
  screen_->stop();
  server_->stop();
}

}  // namespace tevanto
