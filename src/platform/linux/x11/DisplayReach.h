#pragma once

#include <string>

namespace tevanto {

/// Whether a display server of this session takes connections: the X server of DISPLAY, or the Wayland
/// compositor of WAYLAND_DISPLAY. Asks them; an X server on this computer answers within a millisecond.
bool canReachDisplay();
/// Whether the X server of DISPLAY is one of them.
bool canReachXServer();

/// Names the variable that chooses the X server and its value: "DISPLAY is :0".
std::string displayText();

}  // namespace tevanto
