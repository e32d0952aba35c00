#pragma once

namespace tevanto {

struct WindowIdentity;

/// Asks the window manager of the X display that DISPLAY names to raise and focus the topmost window of the
/// application (Extended Window Manager Hints, _NET_ACTIVE_WINDOW). Returns false when there is no such
/// window, or no window manager that does so. Any thread.
bool raiseWindowOf(const WindowIdentity& application);

}  // namespace tevanto
