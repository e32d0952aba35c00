#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/display/DisplayBackend.h"
#include "platform/linux/display/DisplayDiagnosis.h"

namespace tevanto {

/// X11Backend is the X server of DISPLAY. That server may be missing, go away and come back: input waits for
/// it, capture and permissions ask anew each time.
class X11Backend final : public DisplayBackend, private DisplayDiagnosis {
 public:
  explicit X11Backend(Environment environment);
  ~X11Backend() override;
  X11Backend(const X11Backend&) = delete;
  X11Backend& operator=(const X11Backend&) = delete;

  /// Releases what an earlier run left held down, if there is a server already.
  std::shared_ptr<InputEvents> input() override;
  DisplayCapture& capture() override;
  AccessibilityPermission& accessibility() override;
  ScreenCapturePermission& screenCapture() override;
  bool raiseWindow(const WindowIdentity& application) override;
  std::string describe() const override;
  DisplayDiagnosis& diagnosis() override { return *this; }

 private:
  struct Core;

  Result<std::unique_ptr<PointerProof>> openPointerProof() override;
  std::optional<Desktop> desktop() override;

  const std::unique_ptr<Core> core_;
};

}  // namespace tevanto
