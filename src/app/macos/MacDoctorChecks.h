#pragma once

#include <cstdint>
#include <vector>

#include "app/doctor/Doctor.h"

namespace tevanto {

/// What is tried on a Mac: the two permissions, the sleep assertion, the login item
/// and both ports. Ports that the running companion of this user holds count as fine.
std::vector<DoctorCheck> macDoctorChecks(std::uint16_t remotePort, std::uint16_t screenPort);

}  // namespace tevanto
