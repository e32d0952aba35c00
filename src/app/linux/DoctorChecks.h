#pragma once

#include <filesystem>
#include <vector>

#include "app/cli/CommandLine.h"
#include "app/doctor/Doctor.h"

namespace tevanto {

/// Returns the checks of a Linux desktop: pointer, screen, encoder, discovery, volume, sleep inhibitor, both
/// ports and the folder of the user defaults. Ports that the running companion of this user holds pass.
std::vector<DoctorCheck> doctorChecks(const DoctorOptions& options,
                                      const std::filesystem::path& defaultsFile);

}  // namespace tevanto
