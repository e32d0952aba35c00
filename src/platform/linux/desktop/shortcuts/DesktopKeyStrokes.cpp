#include "platform/linux/desktop/shortcuts/DesktopKeyStrokes.h"

#include <utility>

#include "control/KeyCodes.h"
#include "platform/linux/input/VirtualKeyCodes.h"

namespace tevanto {
namespace {

constexpr std::uint16_t kTab = 48;
constexpr std::uint16_t kSpace = 49;
constexpr std::uint32_t kModifiers =
    eventFlag::kShift | eventFlag::kControl | eventFlag::kOption | eventFlag::kCommand;

}  // namespace

DesktopKeyStrokes::DesktopKeyStrokes(std::shared_ptr<InputEvents> events, Actions actions)
    : events_(std::move(events)), actions_(std::move(actions)) {}

bool DesktopKeyStrokes::postKey(const KeyEvent& event) {
  if (!event.text.empty()) return events_->postKey(event);
  const auto modifiers = event.flags & kModifiers;
  if (event.keyCode == keyCode::kQ && modifiers == (eventFlag::kCommand | eventFlag::kControl))
    return postAction(event.direction, actions_.lockSession);
  if (event.keyCode == kSpace && modifiers == eventFlag::kCommand)
    return postAction(event.direction, [this] { return actions_.openOverview() || tapSuper(); });
  auto passed = event;
  if (event.keyCode == kTab && (modifiers & ~eventFlag::kShift) == eventFlag::kCommand)
    passed.flags = (event.flags & ~eventFlag::kCommand) | eventFlag::kOption;
  return events_->postKey(passed);
}

/// The whole stroke stands for the action; its release only repeats the answer.
bool DesktopKeyStrokes::postAction(KeyDirection direction, const std::function<bool()>& action) {
  if (direction == KeyDirection::down) actionDone_ = action();
  return actionDone_;
}

bool DesktopKeyStrokes::tapSuper() {
  return events_->postKey({kSuperKeyCode, KeyDirection::down}) &&
         events_->postKey({kSuperKeyCode, KeyDirection::up});
}

bool DesktopKeyStrokes::postMediaKey(MediaKey key, KeyDirection direction) {
  if (direction == KeyDirection::down) mediaKeyTaken_ = actions_.pressMediaKey(key);
  return mediaKeyTaken_ || events_->postMediaKey(key, direction);
}

}  // namespace tevanto
