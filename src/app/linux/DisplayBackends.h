#pragma once

#include <memory>

#include "platform/linux/display/DisplayBackend.h"

namespace tevanto {

/// Makes the backend for the display server of this session. Talks to nobody.
std::unique_ptr<DisplayBackend> makeDisplayBackend(DisplayBackend::Environment environment);

}  // namespace tevanto
