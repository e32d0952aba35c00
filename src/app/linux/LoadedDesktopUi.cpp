#include "app/linux/LoadedDesktopUi.h"

#include "app/runtime/DesktopUi.h"
#include "app/runtime/DesktopUiModule.h"
#include "platform/linux/process/ProgramModule.h"
#include "platform/linux/x11/DisplayReach.h"

namespace tevanto {

std::unique_ptr<DesktopUi> loadDesktopUi(const Logger& log) {
  // First: Qt ends the process where it finds no display.
  if (!canReachDisplay()) {
    log.info("No display can be reached; there is no window");
    return nullptr;
  }
  const auto make = functionOfModule(kDesktopUiModule, kMakeDesktopUi, Binding::onCall);
  if (!make) {
    log.info("There is no window: " + make.error());
    return nullptr;
  }
  std::unique_ptr<DesktopUi> ui(reinterpret_cast<MakeDesktopUi>(make.value())());
  if (!ui) log.info("There is no window: Qt has no plugin for Wayland; it is in the package qt6-wayland");
  return ui;
}

}  // namespace tevanto
