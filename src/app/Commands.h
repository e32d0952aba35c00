#pragma once

#include "app/CommandLine.h"

namespace tevanto {

class JsonUserDefaults;

/// The commands that are carried out by asking the running companion, or without one. Each prints its result
/// or what to do next, and returns how the program ends.
ExitCode runStatus(const StatusOptions& options);
ExitCode runKeepAwake(const KeepAwakeOptions& options);
ExitCode runDefaults(const DefaultsOptions& options, JsonUserDefaults& defaults);
/// Another companion holds the lock: asks it to show itself in this one's place.
ExitCode handOverToRunningCompanion();

}  // namespace tevanto
