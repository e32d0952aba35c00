#include "platform/linux/x11/input/XTestKeyboard.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <utility>

#include "platform/linux/input/VirtualKeyCodes.h"

namespace tevanto {
namespace {

/// The keys that are down now, whoever holds them.
class KeysDown {
 public:
  explicit KeysDown(const XInputConnection& x)
      : reply_(xcb_query_keymap_reply(x.xcb(), xcb_query_keymap(x.xcb()), nullptr)) {}
  bool has(std::uint8_t keycode) const { return reply_ && (reply_->keys[keycode / 8] >> (keycode % 8) & 1); }

 private:
  XcbOwned<xcb_query_keymap_reply_t> reply_;
};

std::uint32_t keysymOf(MediaKey key) {
  switch (key) {
    case MediaKey::play:
      return XKB_KEY_XF86AudioPlay;
    case MediaKey::next:
      return XKB_KEY_XF86AudioNext;
    case MediaKey::previous:
      return XKB_KEY_XF86AudioPrev;
  }
  return XKB_KEY_NoSymbol;
}

}  // namespace

/// The user may have moved a modifier to another key, so it is looked for by its meaning.
struct XTestKeyboard::Modifier {
  std::uint32_t left;
  std::uint8_t usualLeft;
  std::uint32_t right;
  std::uint8_t usualRight;
};

const XTestKeyboard::Modifier XTestKeyboard::kShift{XKB_KEY_Shift_L, 50, XKB_KEY_Shift_R, 62};
const XTestKeyboard::Modifier XTestKeyboard::kControl{XKB_KEY_Control_L, 37, XKB_KEY_Control_R, 105};
const XTestKeyboard::Modifier XTestKeyboard::kAlt{XKB_KEY_Alt_L, 64, XKB_KEY_Alt_R, 64};
const XTestKeyboard::Modifier XTestKeyboard::kSuper{XKB_KEY_Super_L, 133, XKB_KEY_Super_R, 134};

XTestKeyboard::XTestKeyboard(std::shared_ptr<XInputConnection> x, HeldInput& held, XKeyboard& keyboard)
    : x_(std::move(x)), held_(held), keyboard_(keyboard) {}

bool XTestKeyboard::key(const KeyEvent& event, CommandModifier command) {
  const auto keycode = xKeycodeOf(event.keyCode);
  if (!keycode) return false;
  if (event.direction == KeyDirection::down) {
    press(*keycode, modifiersOf(event, command));
  } else {
    release(*keycode);
  }
  return true;
}

bool XTestKeyboard::mediaKey(MediaKey key, KeyDirection direction) {
  if (!keyboard_.refresh()) return false;
  const auto keycode = keyboard_.keymap().keyOf(keysymOf(key));
  if (!keycode) return false;
  if (direction == KeyDirection::down) {
    press(*keycode, {});
  } else {
    release(*keycode);
  }
  return true;
}

std::vector<const XTestKeyboard::Modifier*> XTestKeyboard::modifiersOf(const KeyEvent& event,
                                                                       CommandModifier command) {
  const bool isCommand = event.flags & eventFlag::kCommand;
  const bool commandIsSuper = command == CommandModifier::super;
  std::vector<const Modifier*> result;
  if ((event.flags & eventFlag::kControl) || (isCommand && !commandIsSuper)) result.push_back(&kControl);
  if (event.flags & eventFlag::kOption) result.push_back(&kAlt);
  if (event.flags & eventFlag::kShift) result.push_back(&kShift);
  if ((event.keyCode & kSuperKeyBit) || (isCommand && commandIsSuper)) result.push_back(&kSuper);
  return result;
}

void XTestKeyboard::press(std::uint8_t keycode, const std::vector<const Modifier*>& modifiers) {
  std::vector<HeldInput::Entry> entries;
  if (!modifiers.empty() && keyboard_.refresh()) {
    const KeysDown down(*x_);
    for (const auto* modifier : modifiers) {
      const auto left = keyboard_.keyOf(modifier->left, modifier->usualLeft);
      if (down.has(left) || down.has(keyboard_.keyOf(modifier->right, modifier->usualRight))) continue;
      entries.emplace_back(HeldInput::What::key, left);
    }
  }
  entries.emplace_back(HeldInput::What::key, keycode);
  held_.press(entries);
  strokes_.push_back({keycode, std::move(entries)});
}

void XTestKeyboard::release(std::uint8_t keycode) {
  const auto stroke =
      std::ranges::find_if(strokes_, [&](const auto& candidate) { return candidate.keycode == keycode; });
  if (stroke == strokes_.end()) return;
  held_.release(stroke->pressed);
  strokes_.erase(stroke);
}

}  // namespace tevanto
