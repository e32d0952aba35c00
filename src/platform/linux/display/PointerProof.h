#pragma once

#include <chrono>

#include "control/InputEvents.h"

namespace tevanto {

/// PointerProof is a small window of our own that sees the pointer arrive, which proves that injected input
/// reaches other programs. It lies above all other windows for as long as it lives. One thread.
class PointerProof {
 public:
  virtual ~PointerProof() = default;

  /// The middle of the window, in the coordinates of the screen.
  virtual PointerLocation middle() const = 0;
  /// Waits for the pointer to come to the middle; false when it did not within `timeout`.
  virtual bool seesPointer(std::chrono::milliseconds timeout) = 0;
};

}  // namespace tevanto
