#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace tevanto {

/// One count of a Core Foundation object, given back at the end.
template <class Ref>
class CfOwned {
 public:
  CfOwned() = default;
  /// Takes over a count that the caller owns: of what a function named Create or Copy returned.
  explicit CfOwned(Ref object) : object_(object) {}
  /// Adds a count of its own: for what a function named Get returned.
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
