#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// By what the windows of an application are known. Compared without regard to case.
struct WindowIdentity {
  std::vector<std::string> classes;  // either part of WM_CLASS
  std::string applicationId;         // _GTK_APPLICATION_ID
};

/// Asks the window manager of the X display that DISPLAY names to raise and focus the topmost window of the
/// application (Extended Window Manager Hints, _NET_ACTIVE_WINDOW). False when there is no such window, or no
/// window manager that does so.
bool raiseWindowOf(const WindowIdentity& application);

}  // namespace tevanto
