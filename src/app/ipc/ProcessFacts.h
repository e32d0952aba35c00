#pragma once

#include <filesystem>
#include <optional>

namespace tevanto {

/// Whether the process at the other end of a connected Unix socket belongs to the user of this one.
bool isOfSameUser(int socket);

/// A folder in which the files of a running program last as long as it runs, where the session names none.
std::filesystem::path runtimeParent();

/// The file that this process runs; nothing where the system does not say.
std::optional<std::filesystem::path> ownExecutable();

}  // namespace tevanto
