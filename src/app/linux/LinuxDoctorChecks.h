#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "app/doctor/Doctor.h"

namespace tevanto {

/// What is tried on a Linux desktop: pointer, discovery, volume, sleep inhibitor, both ports and the folder
/// of the user defaults. Ports that the running companion of this user holds count as fine.
std::vector<DoctorCheck> linuxDoctorChecks(std::uint16_t remotePort, std::uint16_t screenPort,
                                           const std::filesystem::path& defaultsFile);

}  // namespace tevanto
