#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// Returns the folders in which applications are installed, the most important one first. The user's own,
/// under `home`, is the last.
std::vector<std::string> applicationFoldersOf(const std::string& home);
/// True when an entry of such a folder is an application, by its name.
bool isApplicationName(const std::string& name);
/// The name without the extension.
std::string applicationFileName(const std::string& name);

}  // namespace tevanto
