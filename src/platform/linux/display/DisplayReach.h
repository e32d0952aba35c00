#pragma once

namespace tevanto {

/// Returns true when a display server of this session takes connections: the X server of DISPLAY, or the
/// Wayland compositor of WAYLAND_DISPLAY. Connects to them; an X server on this computer answers within a
/// millisecond.
bool canReachDisplay();
/// Returns true when the X server of DISPLAY is one of them.
bool canReachXServer();

}  // namespace tevanto
