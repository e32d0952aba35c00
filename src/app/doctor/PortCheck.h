#pragma once

#include <cstdint>
#include <string>

#include "core/Result.h"

namespace tevanto {

/// Finds out whether the companion can listen on the TCP port, or does already. `option` is the command line
/// option that chooses another port.
Result<std::string> tryPort(std::uint16_t port, const std::string& option);

}  // namespace tevanto
