#pragma once

#include <string>

#include "core/Result.h"

namespace tevanto {

/// Captures one picture of the display by the companion's own road. What was found, or one sentence with the
/// remedy.
Result<std::string> tryScreenCapture();
/// Encodes nothing of the user's; says which encoder is used and why the others are not.
Result<std::string> tryEncoders();

}  // namespace tevanto
