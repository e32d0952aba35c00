#pragma once

#include <filesystem>

namespace tevanto {

/// Returns the folder into which this program was installed, which holds its bin, lib and share folders.
std::filesystem::path installationFolder();

}  // namespace tevanto
