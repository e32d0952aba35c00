#include "platform/linux/x11/input/XTestText.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>

#include "platform/linux/x11/XcbXkb.h"

namespace tevanto {
namespace {

// As many strokes as surely fit into the connection's buffer of 16 KiB, so that a stroke is never sent by
// half.
constexpr std::size_t kMostCharactersAtOnce = 64;
constexpr std::uint8_t kUsualReturnKey = 36;
constexpr std::uint8_t kUsualTabKey = 23;
constexpr std::uint8_t kNumLock = XCB_MOD_MASK_2;
constexpr std::uint8_t kAllModifiers = 0xff;
constexpr int kLevels = 2;

bool isControl(char32_t character) { return character < 0x20 || (character >= 0x7f && character < 0xa0); }

std::optional<SpareKeyPool::Spare> controlKey(char32_t character) {
  if (character == U'\n') return SpareKeyPool::Spare{kUsualReturnKey, XKB_KEY_Return};
  if (character == U'\t') return SpareKeyPool::Spare{kUsualTabKey, XKB_KEY_Tab};
  return std::nullopt;
}

}  // namespace

XTestText::XTestText(std::shared_ptr<XInputConnection> x, HeldInput& held, XKeyboard& keyboard,
                     std::shared_ptr<SerialQueue> clock, Logger log)
    : x_(std::move(x)), held_(held), keyboard_(keyboard), clock_(std::move(clock)), log_(std::move(log)) {}

XTestText::~XTestText() {
  if (x_->broken()) return;
  pause();
  releaseKeycodes();
}

XTestText::Progress XTestText::type(std::u32string_view text) {
  observeLateness();
  if (!keyboard_.refresh()) return {text.size()};
  auto planned = plan(text.substr(0, kMostCharactersAtOnce), unlockedState());
  map(std::move(planned.mappings));
  send(planned.strokes);
  x_->flush();
  const auto now = clock_->now();
  if (!planned.strokes.empty()) keyboard_.spares().typed(now);
  Progress progress{planned.characters};
  if (planned.mustWait) progress.wait = *keyboard_.spares().nextClaim() - now;
  nextDue_ = now + progress.wait;
  return progress;
}

/// How far behind its own plan the rest of a text comes.
void XTestText::observeLateness() {
  if (nextDue_) keyboard_.spares().observeDelay(clock_->now() - *nextDue_);
}

/// The state of the keyboard, and how long the server took to say it.
KeyboardState XTestText::observedState() {
  const auto asked = clock_->now();
  const auto state = keyboard_.state();
  keyboard_.spares().observeDelay(clock_->now() - asked);
  return state;
}

/// Caps Lock and its like change what keys type, and each toolkit has its own view of how. So they are off
/// while text is typed. Num Lock only concerns the keypad, which is not used.
KeyboardState XTestText::unlockedState() {
  auto state = observedState();
  const auto locks = static_cast<std::uint8_t>(state.lockedModifiers & ~kNumLock);
  if (locks != 0 || state.latchedModifiers != 0) {
    setLocks(locks, 0);
    locksToRestore_ |= locks;
    state.lockedModifiers &= kNumLock;
    state.latchedModifiers = 0;
  }
  return state;
}

XTestText::Plan XTestText::plan(std::u32string_view text, const KeyboardState& state) {
  Plan result;
  for (const char32_t character : text) {
    if (isControl(character)) {
      if (const auto key = controlKey(character))
        result.strokes.push_back({keyboard_.keyOf(key->keysym, key->keycode)});
    } else if (const auto stroke = keyboard_.keymap().strokeFor(character, state)) {
      result.strokes.push_back({stroke->keycode, stroke->shift, stroke->thirdLevel});
    } else if (!planSpare(character, result)) {
      result.mustWait = true;
      break;
    }
    ++result.characters;
  }
  return result;
}

/// False when the character has to wait for a key code.
bool XTestText::planSpare(char32_t character, Plan& plan) {
  const auto keysym = XKeymap::keysymOf(character);
  if (keysym == 0) return true;
  auto& spares = keyboard_.spares();
  if (spares.empty()) {
    if (!std::exchange(reportedNoSpares_, true))
      log_.error("The keyboard layout uses every key code; characters that it does not have are left out");
    return true;
  }
  auto keycode = spares.find(keysym);
  if (!keycode) {
    keycode = spares.claim(keysym, clock_->now());
    if (!keycode) return false;
    plan.mappings.push_back({*keycode, keysym});
  }
  plan.strokes.push_back({*keycode});
  return true;
}

void XTestText::map(std::vector<SpareKeyPool::Spare> mappings) {
  if (mappings.empty()) return;
  std::vector<HeldInput::Entry> borrowed;
  for (const auto& mapping : mappings)
    borrowed.emplace_back(HeldInput::What::borrowedKeycode, mapping.keycode);
  held_.press(borrowed);
  std::ranges::sort(mappings, [](const auto& a, const auto& b) { return a.keycode < b.keycode; });
  // Every request makes every client ask for the keymap, so neighbors share one.
  std::vector<std::uint32_t> keysyms;
  for (std::size_t i = 0; i < mappings.size(); ++i) {
    keysyms.insert(keysyms.end(), kLevels, mappings[i].keysym);
    const bool last = i + 1 == mappings.size() || mappings[i + 1].keycode != mappings[i].keycode + 1;
    if (!last) continue;
    const auto keys = static_cast<int>(keysyms.size()) / kLevels;
    changeMapping(static_cast<std::uint8_t>(mappings[i].keycode - keys + 1), keysyms);
    keysyms.clear();
  }
}

void XTestText::changeMapping(std::uint8_t first, const std::vector<std::uint32_t>& keysyms) const {
  xcb_change_keyboard_mapping(x_->xcb(), static_cast<std::uint8_t>(keysyms.size() / kLevels), first, kLevels,
                              keysyms.data());
}

void XTestText::send(const std::vector<Stroke>& strokes) const {
  const auto shiftKey = keyboard_.keymap().shiftKey();
  const auto thirdLevelKey = keyboard_.keymap().thirdLevelKey().value_or(0);
  bool shift = false;
  bool thirdLevel = false;
  const auto hold = [&](bool wantShift, bool wantThirdLevel) {
    if (wantShift != shift) x_->fakeKey(shiftKey, shift = wantShift);
    if (wantThirdLevel != thirdLevel) x_->fakeKey(thirdLevelKey, thirdLevel = wantThirdLevel);
  };
  for (const auto& stroke : strokes) {
    hold(stroke.shift, stroke.thirdLevel);
    x_->fakeKey(stroke.keycode, true);
    x_->fakeKey(stroke.keycode, false);
  }
  hold(false, false);
}

void XTestText::setLocks(std::uint8_t affected, std::uint8_t locked) const {
  xcb_xkb_latch_lock_state(x_->xcb(), XCB_XKB_ID_USE_CORE_KBD, affected, locked, 0, 0, kAllModifiers, 0, 0);
}

void XTestText::pause() {
  nextDue_.reset();
  if (locksToRestore_ == 0) return;
  setLocks(locksToRestore_, locksToRestore_);
  locksToRestore_ = 0;
  x_->flush();
}

void XTestText::releaseKeycodes() {
  std::vector<HeldInput::Entry> borrowed;
  auto mappings = keyboard_.spares().carrying();
  for (auto& mapping : mappings) {
    borrowed.emplace_back(HeldInput::What::borrowedKeycode, mapping.keycode);
    mapping.keysym = 0;
  }
  map(std::move(mappings));
  held_.release(borrowed);
  keyboard_.spares().releaseAll();
  x_->flush();
}

}  // namespace tevanto
