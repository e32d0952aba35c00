#pragma once

#include <string>

#include "core/Result.h"

namespace tevanto {

/// Captures one picture of the display as the companion does. Returns the result, or one sentence with the
/// remedy.
Result<std::string> tryScreenCapture();
/// Tries the encoders, on no picture of the user. Returns which one is used and why the others are not.
Result<std::string> tryEncoders();

}  // namespace tevanto
