#pragma once

#include <mutex>
#include <string>

#include "core/text/Uuid.h"

namespace tevanto {

/// The identity of the current capture session, replaced at every start and every stop. What comes back from
/// a session asks here first, on whatever thread, and does nothing when it belongs to an earlier one.
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
