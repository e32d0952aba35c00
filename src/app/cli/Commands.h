#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "app/cli/CommandLine.h"
#include "app/doctor/Doctor.h"

namespace tevanto {

class UserDefaults;

// The commands that ask the running companion, or need none. Each prints its result or what to do next, and
// returns the exit status.

ExitCode runStatus(const StatusOptions& options);
ExitCode runKeepAwake(const KeepAwakeOptions& options);
ExitCode runDefaults(const DefaultsOptions& options, UserDefaults& defaults);
/// Runs the checks, prints their findings as they come or as JSON, and ends the program at once: nothing may
/// wait for the thread of a check that hangs.
[[noreturn]] void runDoctor(const std::vector<DoctorCheck>& checks, bool json);
/// Asks the companion that holds the lock to show itself instead of a second one. Returns nothing when none
/// listens: it may be starting or ending at this moment.
std::optional<ExitCode> handOverToRunningCompanion(const std::filesystem::path& folder);
/// Asks the companion that holds the lock to end if it has lost its display. Returns false when it goes on,
/// or none answers.
bool askToGiveWay(const std::filesystem::path& folder);
/// Prints one sentence to standard error.
ExitCode complain(const std::string& sentence, ExitCode code = ExitCode::failed);

}  // namespace tevanto
