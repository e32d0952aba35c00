#pragma once

#include "control/InputEvents.h"

namespace tevanto {

/// CoreGraphicsInputEvents posts Core Graphics events to the tap of the hardware's events. The system drops
/// them without an error while this program has no accessibility permission. Main queue.
class CoreGraphicsInputEvents final : public InputEvents {
 public:
  std::unique_ptr<EventSource> makeEventSource() override;
  bool postKey(const KeyEvent& event) override;
  bool postMouse(const MouseEvent& event) override;
  bool postScroll(const ScrollEvent& event) override;
  bool postMediaKey(MediaKey key, KeyDirection direction) override;
  void warpPointer(PointerLocation location) override;
  PointerLocation pointerLocation() override;
};

}  // namespace tevanto
