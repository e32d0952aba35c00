#pragma once

#include <optional>
#include <string>

namespace tevanto {

/// The name that the user gave this computer in the settings; nothing when there is none.
std::optional<std::string> macComputerName();

}  // namespace tevanto
