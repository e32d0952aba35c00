#pragma once

#include <optional>
#include <string>

namespace tevanto {

/// Returns the name that the user gave this computer in the settings; empty when there is none.
std::optional<std::string> macComputerName();

}  // namespace tevanto
