#pragma once

#include <functional>
#include <memory>

#include "control/InputEvents.h"

namespace tevanto {

/// DesktopKeyStrokes translates the key strokes that concern the whole desktop. command+Tab becomes the
/// desktop's application switcher, command+Space its overview. command+control+Q locks the session, and media
/// keys go to the player. All other events pass unchanged. Main queue.
class DesktopKeyStrokes final : public InputEvents {
 public:
  /// Actions holds the desktop's operations. Each returns true when it could be done.
  struct Actions {
    std::function<bool()> lockSession;
    std::function<bool()> openOverview;           // when it cannot, the Super key is tapped
    std::function<bool(MediaKey)> pressMediaKey;  // when it cannot, the keyboard's audio key is pressed
  };

  DesktopKeyStrokes(std::shared_ptr<InputEvents> events, Actions actions);

  bool postKey(const KeyEvent& event) override;
  bool postMouse(const MouseEvent& event) override { return events_->postMouse(event); }
  bool postScroll(const ScrollEvent& event) override { return events_->postScroll(event); }
  bool postMediaKey(MediaKey key, KeyDirection direction) override;
  void warpPointer(PointerLocation location) override { events_->warpPointer(location); }
  PointerLocation pointerLocation() override { return events_->pointerLocation(); }

 private:
  bool postAction(KeyDirection direction, const std::function<bool()>& action);
  bool tapSuper();

  const std::shared_ptr<InputEvents> events_;
  const Actions actions_;
  bool actionDone_ = false;
  bool mediaKeyTaken_ = false;
};

}  // namespace tevanto
