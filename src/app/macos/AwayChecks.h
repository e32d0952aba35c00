#pragma once

#include <vector>

#include "app/doctor/Doctor.h"

namespace tevanto {

class UserDefaults;

/// Returns the checks of connections outside the local network, with the adapters of this system. `defaults`
/// outlives them.
std::vector<DoctorCheck> awayChecks(UserDefaults& defaults);

}  // namespace tevanto
