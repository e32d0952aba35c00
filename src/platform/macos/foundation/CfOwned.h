#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace tevanto {

/// CfOwned holds one reference count of a Core Foundation object and releases it when destroyed.
template <class Ref>
class CfOwned {
 public:
  CfOwned() = default;
  /// Takes over a count that the caller owns: for results of functions named Create or Copy.
  explicit CfOwned(Ref object) : object_(object) {}
  /// Adds a count of its own: for results of functions named Get.
  static CfOwned retaining(Ref object) {
    if (object) CFRetain(static_cast<CFTypeRef>(object));
    return CfOwned(object);
  }
  CfOwned(const CfOwned& other) : CfOwned(retaining(other.object_)) {}
  CfOwned(CfOwned&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  CfOwned& operator=(CfOwned other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~CfOwned() {
    if (object_) CFRelease(static_cast<CFTypeRef>(object_));
  }

  Ref get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  Ref object_ = nullptr;
};

}  // namespace tevanto
