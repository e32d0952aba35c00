#pragma once

#include <memory>
#include <string>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"
#include "platform/linux/input/CommandModifier.h"

namespace tevanto {

class AccessibilityPermission;
class DisplayCapture;
class DisplayDiagnosis;
class InputEvents;
class ScreenCapturePermission;
struct WindowIdentity;

/// DisplayBackend is all that one display server offers to this program: input, capture, the permissions for
/// both, and windows. One object owns them, because a display server may offer them in one session only.
///
/// Making a backend connects to nothing; its parts connect when they are first used. The references stay
/// valid as long as the backend lives.
class DisplayBackend {
 public:
  /// Environment holds the dependencies of a backend.
  struct Environment {
    std::shared_ptr<SerialQueue> mainQueue;
    CommandModifierSource commandModifier;
    Logger log;
  };

  virtual ~DisplayBackend() = default;

  /// Made with the first call. Called and used on the main queue, or before that queue runs.
  virtual std::shared_ptr<InputEvents> input() = 0;
  virtual DisplayCapture& capture() = 0;
  /// May change at any time, and without a call of `request`.
  virtual AccessibilityPermission& accessibility() = 0;
  /// May change at any time, and without a call of `request`.
  virtual ScreenCapturePermission& screenCapture() = 0;
  /// Raises and focuses the topmost window of the application. False when there is no such window, or nothing
  /// here that raises windows. Any thread.
  virtual bool raiseWindow(const WindowIdentity& application) = 0;

  /// Names the display server as its user can choose it: "DISPLAY is :0".
  virtual std::string describe() const = 0;
  virtual DisplayDiagnosis& diagnosis() = 0;
};

}  // namespace tevanto
