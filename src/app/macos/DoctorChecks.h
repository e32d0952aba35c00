#pragma once

#include <vector>

#include "app/cli/CommandLine.h"
#include "app/doctor/Doctor.h"

namespace tevanto {

/// Returns the checks of a Mac: the two permissions, encoder, discovery, volume, sleep assertion, login item,
/// both ports and the settings. Ports that the running companion of this user holds pass. On the main thread.
std::vector<DoctorCheck> doctorChecks(const DoctorOptions& options);

}  // namespace tevanto
