#pragma once

#include <vector>

#include "app/doctor/Doctor.h"

namespace tevanto {

/// What the windows and the icon find on this desktop: tray, fonts, portal, scale. Where only a convenience
/// is missing the check passes and says what takes its place.
std::vector<DoctorCheck> uiChecks();

}  // namespace tevanto
