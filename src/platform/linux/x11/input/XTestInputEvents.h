#pragma once

#include <memory>
#include <string>

#include "control/InputEvents.h"
#include "core/Log.h"
#include "platform/linux/input/CommandModifier.h"

namespace tevanto {

class SerialQueue;
class ReconnectingXServer;

/// Synthetic input for an X server, through its XTEST extension. Main queue. It may be made before there is a
/// server: as long as there is none, a post fails. When it goes, everything that it holds down is released.
///
/// Text takes time where the keyboard layout lacks its characters. What is posted behind such text waits for
/// it, except for pointer motion with no button queued.
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
  struct Session;
  class Stream;
  explicit XTestInputEvents(std::shared_ptr<Stream> stream);

  std::shared_ptr<Stream> stream_;
};

}  // namespace tevanto
