#pragma once

#include <memory>

#include "app/runtime/DesktopUi.h"

namespace tevanto {

/// The face on a Mac: the icon and the application are AppKit's, the windows and the loop Qt's, which runs
/// AppKit's underneath. On the main thread, once.
std::unique_ptr<DesktopUi> makeMacDesktopUi();

}  // namespace tevanto
