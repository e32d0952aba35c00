#pragma once

#include <memory>

#include "control/InputEvents.h"
#include "core/Log.h"
#include "platform/linux/input/CommandModifier.h"

namespace tevanto {

class SerialQueue;
class ReconnectingXServer;
class XTestEventQueue;

/// XTestInputEvents injects input into an X server through its XTEST extension. It may be made before there
/// is a server: as long as there is none, a post fails. Its end releases everything that it holds down.
///
/// Text takes time where the keyboard layout lacks its characters. Events that are posted behind such text
/// wait for it, except for pointer motion with no button queued. Main queue.
class XTestInputEvents final : public InputEvents {
 public:
  static std::shared_ptr<XTestInputEvents> open(std::shared_ptr<ReconnectingXServer> link,
                                                std::shared_ptr<SerialQueue> mainQueue,
                                                CommandModifierSource commandModifier, Logger log);
  ~XTestInputEvents() override;

  bool postKey(const KeyEvent& event) override;
  bool postMouse(const MouseEvent& event) override;
  bool postScroll(const ScrollEvent& event) override;
  bool postMediaKey(MediaKey key, KeyDirection direction) override;
  void warpPointer(PointerLocation location) override;
  PointerLocation pointerLocation() override;

 private:
  explicit XTestInputEvents(std::shared_ptr<XTestEventQueue> events);

  const std::shared_ptr<XTestEventQueue> events_;
};

}  // namespace tevanto
