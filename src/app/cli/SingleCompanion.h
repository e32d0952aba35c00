#pragma once

#include <filesystem>
#include <functional>

#include "app/cli/CommandLine.h"

namespace tevanto {

/// Runs the companion as this user's only one. `run` gets the folder of its control socket. Where one runs
/// already, that one is asked to show itself, and this returns. With `wantsDisplay`, a companion that has
/// lost its display is asked to end first.
ExitCode runSingleCompanion(bool wantsDisplay,
                            const std::function<ExitCode(const std::filesystem::path& folder)>& run);

}  // namespace tevanto
