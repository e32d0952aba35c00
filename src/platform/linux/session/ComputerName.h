#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tevanto {

/// Returns the name that the user gave this computer: the pretty host name of machine-info(5), else the host
/// name; nothing when there is neither. Reads one small file and asks no service, because the start needs it.
std::optional<std::string> computerName(const std::filesystem::path& machineInfo = "/etc/machine-info");

}  // namespace tevanto
