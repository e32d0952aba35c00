#pragma once

#include <mutex>
#include <utility>

namespace tevanto {

/// A request that any thread may make and one place takes. Starts unset.
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
