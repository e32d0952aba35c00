#pragma once

#include <memory>

#include "platform/linux/display/DisplayBackend.h"

namespace tevanto {

/// Makes the backend for the display server of this session. Connects to nothing.
std::unique_ptr<DisplayBackend> makeDisplayBackend(DisplayBackend::Environment environment);

/// Returns true when a display server of this session takes connections: the X server of DISPLAY, or the
/// Wayland compositor of WAYLAND_DISPLAY. Connects to them; one on this computer answers within a
/// millisecond.
bool canReachDisplay();

}  // namespace tevanto
