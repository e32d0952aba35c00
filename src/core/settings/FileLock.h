#pragma once

#include <filesystem>
#include <utility>

#include "core/Descriptor.h"
#include "core/Result.h"

namespace tevanto {

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
