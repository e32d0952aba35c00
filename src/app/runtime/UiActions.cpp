#include "app/runtime/UiActions.h"

#include "app/runtime/ScreenService.h"
#include "app/runtime/TevantoMacRuntime.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {

UiActions UiActions::of(TevantoMacRuntime& runtime) {
  UiActions operations;
  operations.requestAccessibility = [&runtime] { runtime.server().requestAccessibility(); };
  operations.requestScreenRecording = [&runtime] { runtime.screen().requestScreenRecording(); };
  operations.setKeepAwake = [&runtime](bool on) { return runtime.power().setKeepAwake(on); };
  operations.setLaunchAtLogin = [&runtime](bool on) { runtime.launchAtLogin().setEnabled(on); };
  operations.disconnectPhone = [&runtime] { runtime.server().disconnect(); };
  operations.refresh = [&runtime] {
    runtime.power().refreshBattery();
    runtime.launchAtLogin().refresh();
    runtime.screen().state();  // asking has the permission looked at
  };
  operations.openSetupWindow = [&runtime] { runtime.openSetupWindow(); };
  return operations;
}

}  // namespace tevanto
