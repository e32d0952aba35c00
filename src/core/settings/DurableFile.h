#pragma once

#include <filesystem>
#include <string_view>

#include "core/Result.h"

namespace tevanto {

class FileSystem;

/// Makes `folder` and the parents that are missing, mode 0700, each of them on the disk before this returns.
Result<void> makeDurableFolder(FileSystem& files, const std::filesystem::path& folder);

/// Replaces the content of the file (mode 0600) by `text`. After a crash or a power cut at any moment `path`
/// holds either its former content or all of `text`; once this has reported success, all of `text`. Only one
/// writer at a time: hold a FileLock.
Result<void> replaceDurably(FileSystem& files, const std::filesystem::path& path, std::string_view text);

}  // namespace tevanto
