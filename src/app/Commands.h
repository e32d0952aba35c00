#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "app/CommandLine.h"

namespace tevanto {

class UserDefaults;

/// The commands that are carried out by asking the running companion, or without one. Each prints its result
/// or what to do next, and returns how the program ends.
ExitCode runStatus(const StatusOptions& options);
ExitCode runKeepAwake(const KeepAwakeOptions& options);
ExitCode runDefaults(const DefaultsOptions& options, UserDefaults& defaults);
/// Asks the companion that holds the lock to show itself in the place of a second one. Nothing when none
/// listens: it may only just be starting or ending.
std::optional<ExitCode> handOverToRunningCompanion(const std::filesystem::path& folder);
/// Asks the companion that holds the lock to end if it has lost its display. False when it goes on, or none
/// answers.
bool askToGiveWay(const std::filesystem::path& folder);
/// Prints one sentence to standard error.
ExitCode complain(const std::string& sentence, ExitCode code = ExitCode::failed);

}  // namespace tevanto
