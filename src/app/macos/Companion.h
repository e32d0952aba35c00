#pragma once

#include <filesystem>
#include <memory>

#include "app/cli/CommandLine.h"

namespace tevanto {

class DesktopUi;
class UserDefaults;

/// Runs the companion of a Mac on the main thread until it is told to quit. It is headless when `ui` is null:
/// the panel is then text on standard output. The caller holds the `CompanionLock` of `runtimeFolder`.
ExitCode runCompanion(const CompanionOptions& options, UserDefaults& defaults,
                      const std::filesystem::path& runtimeFolder, std::unique_ptr<DesktopUi> ui);

}  // namespace tevanto
