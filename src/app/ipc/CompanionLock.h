#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>

#include "core/Result.h"

namespace tevanto {

/// CompanionLock is the single-instance lock of this user: an flock on a file in the runtime folder. The
/// kernel releases it when the process exits. The holder owns the control socket, and may remove one that a
/// dead process left behind.
class CompanionLock {
 public:
  /// Null when another process holds it.
  static Result<std::unique_ptr<CompanionLock>> tryAcquire(const std::filesystem::path& folder);
  /// The process that holds the lock; 0 when the file does not name it yet.
  static pid_t holder(const std::filesystem::path& folder);

  ~CompanionLock();
  CompanionLock(const CompanionLock&) = delete;
  CompanionLock& operator=(const CompanionLock&) = delete;

 private:
  explicit CompanionLock(int descriptor) : descriptor_(descriptor) {}
  const int descriptor_;
};

}  // namespace tevanto
