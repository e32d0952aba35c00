#pragma once

#include <mutex>
#include <utility>

namespace tevanto {

/// ManagedAtomicFlag is a request that any thread sets and one place takes. It starts unset.
/// Thread-safe.
class ManagedAtomicFlag {
 public:
  void set() {
    const std::lock_guard lock(lock_);
    value_ = true;
  }
  /// The value, and leaves it unset.
  bool readAndClear() {
    const std::lock_guard lock(lock_);
    return std::exchange(value_, false);
  }

 private:
  std::mutex lock_;
  bool value_ = false;
};

}  // namespace tevanto
