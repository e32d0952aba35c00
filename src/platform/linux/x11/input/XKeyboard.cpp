#include "platform/linux/x11/input/XKeyboard.h"

#include <algorithm>
#include <utility>

#include "platform/linux/x11/XcbXkb.h"

namespace tevanto {

XKeyboard::XKeyboard(std::shared_ptr<XInputConnection> x) : x_(std::move(x)) {}

bool XKeyboard::refresh() {
  x_->readEvents();
  const auto changes = x_->takeKeyChanges();
  const bool stale = std::ranges::any_of(changes, [this](const auto& range) { return !isOurs(range); });
  return (keymap_ && !stale) || load();
}

/// Borrowing a key code changes the keymap too, and is no news.
bool XKeyboard::isOurs(const XInputConnection::KeyRange& range) const {
  if (range.count < 0) return false;
  for (int key = range.first; key < range.first + range.count; ++key)
    if (!spares_.owns(key)) return false;
  return true;
}

bool XKeyboard::load() {
  auto loaded = XKeymap::load(*x_);
  if (!loaded) return keymap_ != nullptr && !x_->broken();
  keymap_ = std::move(loaded);
  std::vector<SpareKeyPool::Spare> spares;
  for (const auto keycode : keymap_->unusedKeycodes()) spares.push_back({keycode, 0});
  std::vector<std::uint8_t> borrowed;
  for (const auto& spare : spares_.carrying()) {
    if (keymap_->keysymAt(spare.keycode) != spare.keysym) continue;  // the new layout has taken it
    spares.push_back(spare);
    borrowed.push_back(spare.keycode);
  }
  keymap_->leaveOut(std::move(borrowed));
  spares_.assign(spares);
  return true;
}

KeyboardState XKeyboard::state() const {
  const auto cookie = xcb_xkb_get_state(x_->xcb(), XCB_XKB_ID_USE_CORE_KBD);
  const XcbOwned<xcb_xkb_get_state_reply_t> reply(xcb_xkb_get_state_reply(x_->xcb(), cookie, nullptr));
  if (!reply) return {};
  return {reply->group, reply->baseMods, reply->latchedMods, reply->lockedMods};
}

std::uint8_t XKeyboard::keyOf(std::uint32_t keysym, std::uint8_t usual) const {
  return keymap_ ? keymap_->keyOf(keysym).value_or(usual) : usual;
}

}  // namespace tevanto
