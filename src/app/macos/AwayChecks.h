#pragma once

#include <vector>

#include "app/doctor/Doctor.h"

namespace tevanto {

class UserDefaults;

/// The checks of the away road with what it stands on here. `defaults` outlives them.
std::vector<DoctorCheck> awayChecks(UserDefaults& defaults);

}  // namespace tevanto
