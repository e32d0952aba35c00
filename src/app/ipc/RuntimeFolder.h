#pragma once

#include <filesystem>

#include "core/Result.h"

namespace tevanto {

/// Returns the private folder of the user's running programs, where a companion keeps its control socket and
/// its lock. It is "$XDG_RUNTIME_DIR/tevanto" (XDG Base Directory). Where the session has no such folder, or
/// one of another user, it is "<fallbackParent>/tevanto-<user id>"; the parent is `runtimeParent()` by
/// default. It is created with mode 0700. A folder that another user owns or may write to is refused.
Result<std::filesystem::path> runtimeFolder(const std::filesystem::path& fallbackParent);
Result<std::filesystem::path> runtimeFolder();

/// The control socket in a runtime folder.
std::filesystem::path ipcSocketIn(const std::filesystem::path& folder);

}  // namespace tevanto
