#pragma once

#include <vector>

#include "app/doctor/Doctor.h"

namespace tevanto {

/// Returns the checks of what windows and icon need of this desktop: tray, fonts, portal, scale. Where only a
/// convenience is missing, the check passes and its text names the replacement.
std::vector<DoctorCheck> uiChecks();

}  // namespace tevanto
