#include "control/MacInputController.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "control/KeyCodes.h"
#include "control/Workspace.h"
#include "core/text/Text.h"

namespace tevanto {
namespace {

constexpr std::size_t kMaxUnitsPerEvent = 20;  // what a keyboard event carries of UTF-16

struct Gesture {
  std::string_view name;
  int hotKey = 0;                            // 0: none, opens `application`
  SymbolicHotKeys::KeyStroke standard = {};  // when the user's preferences do not know the hot key
  std::string_view application = {};
};

const std::array<Gesture, 6>& gestures() {
  static const std::array<Gesture, 6> table = {
      {{"missionControl", 0, {}, "/System/Applications/Mission Control.app"},
       {"appWindows", 34, {keyCode::kArrowDown, {RemoteModifier::control}}},
       {"spaceLeft", 79, {keyCode::kArrowLeft, {RemoteModifier::control}}},
       {"spaceRight", 81, {keyCode::kArrowRight, {RemoteModifier::control}}},
       {"showDesktop", 36, {keyCode::kF11, {}}},
       {"launchpad", 0, {}, "/System/Applications/Launchpad.app"}}};
  return table;
}

std::uint32_t flagOf(RemoteModifier modifier) {
  switch (modifier) {
    case RemoteModifier::shift:
      return eventFlag::kShift;
    case RemoteModifier::option:
      return eventFlag::kOption;
    case RemoteModifier::control:
      return eventFlag::kControl;
    case RemoteModifier::command:
      return eventFlag::kCommand;
  }
  return 0;
}

std::uint32_t flagsOf(std::uint16_t code, const std::vector<RemoteModifier>& modifiers) {
  std::uint32_t flags = 0;
  for (const auto modifier : modifiers) flags |= flagOf(modifier);
  if (isArrowKey(code)) return flags | eventFlag::kNumericPad | eventFlag::kSecondaryFunction;
  if (isFunctionKey(code)) return flags | eventFlag::kSecondaryFunction;
  return flags;
}

bool fitsInt32(double value) { return value > -2147483649.0 && value < 2147483648.0; }

}  // namespace

MacInputController::MacInputController(InputEvents& pointer, InputEvents& keys, UserPreferences& preferences,
                                       Workspace& workspace)
    : pointer_(pointer), keys_(keys), hotKeys_(preferences), workspace_(workspace) {}

void MacInputController::handle(const RemoteCommand& command) {
  const std::string_view type = command.type;
  if (type == "movePointer") return movePointer(command.dx.value_or(0), command.dy.value_or(0));
  if (type == "click") return click(command);
  if (type == "mouseDown") return mouseDown();
  if (type == "mouseUp") return mouseUp();
  if (type == "scroll") return scroll(command.dx.value_or(0), command.dy.value_or(0));
  if (type == "keyPress") return keyPress(command);
  if (type == "systemGesture" && command.gesture) return systemGesture(*command.gesture);
  if (type == "selectAll") return keyStroke(keyCode::kA, {RemoteModifier::command});
  if (type == "insertText" && command.text) return insertText(*command.text);
}

void MacInputController::movePointer(double dx, double dy) {
  auto location = pointer_.pointerLocation();
  location.x += dx;
  location.y += dy;
  pointer_.warpPointer(location);
  pointer_.postMouse({leftButtonDown_ ? MouseEventType::leftDragged : MouseEventType::moved, location});
}

void MacInputController::click(const RemoteCommand& command) {
  const bool right = command.button == "right";
  const auto down = right ? MouseEventType::rightDown : MouseEventType::leftDown;
  const auto up = right ? MouseEventType::rightUp : MouseEventType::leftUp;
  const int button = right ? 1 : 0;
  const auto count = static_cast<int>(std::clamp<std::int64_t>(command.clicks.value_or(1), 1, kMaxClicks));
  const auto location = pointer_.pointerLocation();
  for (int state = 1; state <= count; ++state) {
    pointer_.postMouse({down, location, button, state});
    pointer_.postMouse({up, location, button, state});
  }
}

void MacInputController::mouseDown() {
  leftButtonDown_ = true;
  pointer_.postMouse({MouseEventType::leftDown, pointer_.pointerLocation(), 0, 1});
}

void MacInputController::mouseUp() {
  pointer_.postMouse({MouseEventType::leftUp, pointer_.pointerLocation(), 0, 1});
  leftButtonDown_ = false;
}

void MacInputController::scroll(double dx, double dy) {
  // The event holds 32-bit integers. JSON can carry 1e300, and no peer may end the process, so what does not
  // fit scrolls nothing.
  if (!fitsInt32(dx) || !fitsInt32(dy)) return;
  pointer_.postScroll({static_cast<std::int32_t>(dy), static_cast<std::int32_t>(dx)});
}

void MacInputController::keyPress(const RemoteCommand& command) {
  if (!command.key) return;
  const auto code = keyCodeNamed(*command.key);
  if (!code) return;
  static const std::vector<RemoteModifier> none;
  keyStroke(*code, command.modifiers ? *command.modifiers : none);
}

void MacInputController::keyStroke(std::uint16_t code, const std::vector<RemoteModifier>& modifiers) {
  const auto flags = flagsOf(code, modifiers);
  keys_.postKey({code, KeyDirection::down, flags});
  keys_.postKey({code, KeyDirection::up, flags});
}

void MacInputController::insertText(std::string_view text) {
  const auto source = keys_.makeEventSource();
  std::u16string chunk;
  const auto flush = [&] {
    if (chunk.empty()) return;
    keys_.postKey({keyCode::kA, KeyDirection::down, 0, chunk, source.get()});
    keys_.postKey({keyCode::kA, KeyDirection::up, 0, chunk, source.get()});
    chunk.clear();
  };
  forEachGraphemeCluster(text, [&](std::u16string_view character) {
    if (chunk.size() + character.size() > kMaxUnitsPerEvent) flush();
    chunk += character;
  });
  flush();
}

void MacInputController::systemGesture(std::string_view name) {
  const auto* gesture = std::find_if(gestures().begin(), gestures().end(),
                                     [&](const auto& candidate) { return candidate.name == name; });
  if (gesture == gestures().end()) return;
  if (gesture->hotKey == 0) return openApplication(gesture->application);
  const auto lookup = hotKeys_.find(gesture->hotKey);
  // A shortcut that the user switched off stays off: no fall-back then.
  if (std::holds_alternative<SymbolicHotKeys::Disabled>(lookup)) return;
  const auto* own = std::get_if<SymbolicHotKeys::KeyStroke>(&lookup);
  const auto& stroke = own ? *own : gesture->standard;
  keyStroke(stroke.keyCode, stroke.modifiers);
}

void MacInputController::openApplication(std::string_view location) {
  const std::string place(location);
  if (workspace_.exists(place)) workspace_.open(place, Workspace::Activation::systemDefault);
}

}  // namespace tevanto
