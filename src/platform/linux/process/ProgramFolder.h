#pragma once

#include <filesystem>

namespace tevanto {

/// Where this program was installed: the folder that holds its bin, lib and share folders.
std::filesystem::path installationFolder();

}  // namespace tevanto
