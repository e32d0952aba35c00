#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>

#include "core/Result.h"

namespace tevanto {

/// Being the one companion of this user: a lock on a file in the runtime folder, held for as long as this
/// object lives and given up by the system when the process ends, however it ends. Who holds it owns the
/// control socket, and may remove one that a dead process left behind.
class CompanionLock {
 public:
  /// Null when another process holds it.
  static Result<std::unique_ptr<CompanionLock>> tryAcquire(const std::filesystem::path& folder);
  /// The process that holds the lock; 0 when it has not said so.
  static pid_t holder(const std::filesystem::path& folder);

  ~CompanionLock();
  CompanionLock(const CompanionLock&) = delete;
  CompanionLock& operator=(const CompanionLock&) = delete;

 private:
  explicit CompanionLock(int descriptor) : descriptor_(descriptor) {}
  const int descriptor_;
};

}  // namespace tevanto
