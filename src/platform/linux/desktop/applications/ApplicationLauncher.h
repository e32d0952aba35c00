#pragma once

#include <string>

#include "core/Result.h"

namespace tevanto {

/// Starts the application of the desktop entry at `path`, in a session of its own that neither ends with this
/// process nor writes to its output; an application that the session bus activates is asked there, which
/// raises it where it already runs.
Result<void> launchApplication(const std::string& path);

}  // namespace tevanto
