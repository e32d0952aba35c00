#pragma once

#include <filesystem>

#include "core/Result.h"

namespace tevanto {

/// The private folder of the user's running programs, where a companion keeps its control socket and its
/// lock: "$XDG_RUNTIME_DIR/tevanto" (XDG Base Directory), or "<fallbackParent>/tevanto-<user id>" where the
/// session has no such folder or has one of another user; `runtimeParent()` unless said. Created with mode
/// 0700; a folder that somebody else owns or may write to is refused.
Result<std::filesystem::path> runtimeFolder(const std::filesystem::path& fallbackParent);
Result<std::filesystem::path> runtimeFolder();

/// The control socket in a runtime folder.
std::filesystem::path controlSocketIn(const std::filesystem::path& folder);

}  // namespace tevanto
