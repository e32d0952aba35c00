#pragma once

#include <cstdint>
#include <string>

#include "core/Result.h"

namespace tevanto {

/// Whether the companion can listen on the TCP port, or does already. `option`: how another port is chosen.
Result<std::string> tryPort(std::uint16_t port, const std::string& option);

}  // namespace tevanto
