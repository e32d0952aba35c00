#pragma once

#include <memory>

#include "core/Log.h"

namespace tevanto {

class DesktopUi;

/// The windows and the tray icon, of a module that a headless companion never loads. Null, with the reason in
/// the log, where no display can be reached or the module is not installed. On the main thread.
std::unique_ptr<DesktopUi> loadDesktopUi(const Logger& log);

}  // namespace tevanto
