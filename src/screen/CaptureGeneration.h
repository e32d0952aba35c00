#pragma once

#include <mutex>
#include <string>

#include "core/text/Uuid.h"

namespace tevanto {

/// CaptureGeneration holds the identity of the current capture session, replaced at every start and every
/// stop. Callbacks of a session compare theirs with it, and do nothing when they belong to an earlier
/// session.
/// Thread-safe.
class CaptureGeneration {
 public:
  std::string renew() {
    auto fresh = randomUuid();
    const std::lock_guard lock(lock_);
    current_ = fresh;
    return fresh;
  }

  bool isCurrent(const std::string& generation) const {
    const std::lock_guard lock(lock_);
    return current_ == generation;
  }

 private:
  mutable std::mutex lock_;
  std::string current_ = randomUuid();
};

}  // namespace tevanto
