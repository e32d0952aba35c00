#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "app/cli/CommandLine.h"
#include "app/doctor/Doctor.h"

namespace tevanto {

class UserDefaults;

/// The commands that are carried out by asking the running companion, or without one. Each prints its result
/// or what to do next, and returns how the program ends.
ExitCode runStatus(const StatusOptions& options);
ExitCode runKeepAwake(const KeepAwakeOptions& options);
ExitCode runDefaults(const DefaultsOptions& options, UserDefaults& defaults);
/// Tries the checks, prints what they found as they go or as JSON, and ends the program: a check that hangs
/// leaves its thread behind, for which nothing may wait.
[[noreturn]] void runDoctor(const std::vector<DoctorCheck>& checks, bool json);
/// Asks the companion that holds the lock to show itself in the place of a second one. Nothing when none
/// listens: it may only just be starting or ending.
std::optional<ExitCode> handOverToRunningCompanion(const std::filesystem::path& folder);
/// Asks the companion that holds the lock to end if it has lost its display. False when it goes on, or none
/// answers.
bool askToGiveWay(const std::filesystem::path& folder);
/// Prints one sentence to standard error.
ExitCode complain(const std::string& sentence, ExitCode code = ExitCode::failed);

}  // namespace tevanto
