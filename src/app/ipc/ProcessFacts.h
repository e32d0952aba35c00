#pragma once

#include <filesystem>
#include <optional>

namespace tevanto {

/// Returns true when the process at the other end of a connected Unix socket belongs to this process's user.
bool isOfSameUser(int socket);

/// Returns a folder whose files last as long as a running program, for sessions that name none.
std::filesystem::path runtimeParent();

/// Returns the file that this process runs; nothing where the system does not tell.
std::optional<std::filesystem::path> ownExecutable();

}  // namespace tevanto
