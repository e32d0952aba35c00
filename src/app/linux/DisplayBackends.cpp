#include "app/linux/DisplayBackends.h"

#include <utility>

#include "platform/linux/display/CompositorReach.h"
#include "platform/linux/x11/XServerReach.h"
#include "platform/linux/x11/backend/X11Backend.h"

namespace tevanto {

std::unique_ptr<DisplayBackend> makeDisplayBackend(DisplayBackend::Environment environment) {
  // Wayland sessions are reached through their X server, too.
  return std::make_unique<X11Backend>(std::move(environment));
}

bool canReachDisplay() { return canReachXServer() || canReachCompositor(); }

}  // namespace tevanto
