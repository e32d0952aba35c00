#pragma once

namespace tevanto {

/// Returns true when the Wayland compositor of WAYLAND_DISPLAY takes connections. A name is looked up in
/// XDG_RUNTIME_DIR; an absolute path stands for itself. Connects to it.
bool canReachCompositor();

}  // namespace tevanto
