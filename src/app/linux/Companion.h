#pragma once

#include <filesystem>

#include "app/cli/CommandLine.h"

namespace tevanto {

class JsonUserDefaults;

/// Runs the companion of a Linux desktop on the calling thread until SIGINT or SIGTERM.
/// The caller holds the `CompanionLock` of `runtimeFolder`.
ExitCode runCompanion(const CompanionOptions& options, JsonUserDefaults& defaults,
                      const std::filesystem::path& runtimeFolder);

}  // namespace tevanto
