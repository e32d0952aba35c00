#pragma once

#include <filesystem>
#include <string_view>

#include "core/Descriptor.h"
#include "core/Result.h"

namespace tevanto {

class FileSystem;

/// Makes `folder` and the parents that are missing, mode 0700, each of them on the disk before this returns.
Result<void> makeDurableFolder(FileSystem& files, const std::filesystem::path& folder);

/// Replaces the content of the file (mode 0600) by `text`. After a crash or a power cut at any moment `path`
/// holds either its former content or all of `text`; once this has reported success, all of `text`. Only one
/// writer at a time: hold a FileLock.
Result<void> replaceDurably(FileSystem& files, const std::filesystem::path& path, std::string_view text);

/// FileLock keeps every other holder out, in this process and in others: flock(2) on a file of its own. The
/// lock ends with the object, or with the process.
class FileLock {
 public:
  /// Waits until the lock is free. The lock's file is made when it is not there and stays afterwards.
  static Result<FileLock> acquire(const std::filesystem::path& path);

 private:
  explicit FileLock(Descriptor file) : file_(std::move(file)) {}

  Descriptor file_;
};

}  // namespace tevanto
