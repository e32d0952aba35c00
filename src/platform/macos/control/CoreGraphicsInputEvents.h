#pragma once

#include "control/InputEvents.h"

namespace tevanto {

/// Core Graphics events, posted to the tap at which the system takes in its hardware's. The system drops them
/// without a word while this program has no accessibility permission. Main queue.
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
