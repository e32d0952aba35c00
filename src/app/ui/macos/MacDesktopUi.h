#pragma once

#include <memory>

#include "app/runtime/DesktopUi.h"

namespace tevanto {

/// Makes the desktop UI of a Mac. The icon and the application are AppKit's; the windows and the loop are
/// Qt's, which runs AppKit's loop underneath. On the main thread, once.
std::unique_ptr<DesktopUi> makeMacDesktopUi();

}  // namespace tevanto
