#pragma once

namespace tevanto {

/// Returns true when the X server of DISPLAY takes connections. Connects to it; one on this computer answers
/// within a millisecond.
bool canReachXServer();

}  // namespace tevanto
