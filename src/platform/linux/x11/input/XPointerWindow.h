#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "core/Result.h"
#include "platform/linux/display/PointerProof.h"

namespace tevanto {

/// XPointerWindow is the proof window on an X server, out of reach of any window manager.
class XPointerWindow final : public PointerProof {
 public:
  /// An empty `displayName` means DISPLAY.
  static Result<std::unique_ptr<XPointerWindow>> open(const std::string& displayName);
  ~XPointerWindow() override;
  XPointerWindow(const XPointerWindow&) = delete;
  XPointerWindow& operator=(const XPointerWindow&) = delete;

  PointerLocation middle() const override;
  bool seesPointer(std::chrono::milliseconds timeout) override;

 private:
  struct Core;
  explicit XPointerWindow(std::unique_ptr<Core> connection);
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto
