#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "control/InputEvents.h"
#include "core/Result.h"

namespace tevanto {

/// A small window of our own that sees the pointer arrive: proof that injected input reaches other programs.
/// It lies above all others for as long as it lives. One thread.
class XPointerWindow {
 public:
  /// An empty `displayName` means DISPLAY.
  static Result<std::unique_ptr<XPointerWindow>> open(const std::string& displayName);
  ~XPointerWindow();

  /// Its middle, in the coordinates of the screen.
  PointerLocation middle() const;
  /// Waits for the pointer to come to the middle.
  bool seesPointer(std::chrono::milliseconds timeout);

 private:
  struct Connection;
  explicit XPointerWindow(std::unique_ptr<Connection> connection);
  std::unique_ptr<Connection> connection_;
};

}  // namespace tevanto
