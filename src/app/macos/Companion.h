#pragma once

#include <filesystem>
#include <memory>

#include "app/cli/CommandLine.h"

namespace tevanto {

class DesktopUi;
class UserDefaults;

/// Puts the companion of a Mac together and runs it on the main thread until it is told to quit. Without a
/// face it is headless: the panel is text on standard output. The caller holds the `CompanionLock` of
/// `runtimeFolder`.
ExitCode runCompanion(const CompanionOptions& options, UserDefaults& defaults,
                      const std::filesystem::path& runtimeFolder, std::unique_ptr<DesktopUi> ui);

}  // namespace tevanto
