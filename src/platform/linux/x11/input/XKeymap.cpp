#include "platform/linux/x11/input/XKeymap.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace tevanto {
namespace {

struct Unref {
  void operator()(xkb_context* context) const { xkb_context_unref(context); }
  void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
  void operator()(xkb_state* state) const { xkb_state_unref(state); }
};
template <class T>
using Xkb = std::unique_ptr<T, Unref>;

constexpr std::uint8_t kUsualShiftKey = 50;
constexpr xkb_keysym_t kUnicodeKeysym = 0x01000000;  // + code point; X protocol, appendix A
constexpr char32_t kLastLatin1 = 0xff;

/// The character that a keysym types in every toolkit; 0 where they do not agree, or for none. The old sets
/// of technical, line drawing, publishing, Korean and rarer characters are read differently by Xlib and
/// others.
char32_t characterOf(xkb_keysym_t keysym) {
  const bool isUnicode = keysym >= kUnicodeKeysym && keysym < kUnicodeKeysym + 0x110000;
  const auto set = keysym >> 8;
  const bool isOldLetter = set <= 0x7 || set == 0xc || set == 0xd || set == 0x13 || set == 0x20;
  return isUnicode || isOldLetter ? xkb_keysym_to_utf32(keysym) : 0;
}

}  // namespace

struct XKeymap::Tables {
  Xkb<xkb_context> context;
  Xkb<xkb_keymap> keymap;
  std::vector<std::uint8_t> leftOut;
  std::optional<KeyboardState> indexed;
  std::unordered_map<char32_t, TypingStroke> strokes;  // for the state `indexed`
};

std::unique_ptr<XKeymap> XKeymap::load(const XInputConnection& x) {
  Xkb<xkb_context> context(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES));
  const auto device = xkb_x11_get_core_keyboard_device_id(x.xcb());
  if (!context || device < 0) return nullptr;
  Xkb<xkb_keymap> keymap(
      xkb_x11_keymap_new_from_device(context.get(), x.xcb(), device, XKB_KEYMAP_COMPILE_NO_FLAGS));
  if (!keymap) return nullptr;
  auto tables = std::make_unique<Tables>();
  tables->context = std::move(context);
  tables->keymap = std::move(keymap);
  return std::unique_ptr<XKeymap>(new XKeymap(std::move(tables)));
}

XKeymap::XKeymap(std::unique_ptr<Tables> tables) : tables_(std::move(tables)) {}
XKeymap::~XKeymap() = default;

std::uint32_t XKeymap::keysymOf(char32_t character) {
  if (xkb_utf32_to_keysym(character) == XKB_KEY_NoSymbol) return 0;  // no character
  return character <= kLastLatin1 ? character : kUnicodeKeysym + character;
}

void XKeymap::leaveOut(std::vector<std::uint8_t> keycodes) {
  tables_->leftOut = std::move(keycodes);
  tables_->indexed.reset();
}

std::optional<TypingStroke> XKeymap::strokeFor(char32_t character, const KeyboardState& state) {
  if (tables_->indexed != state) indexStrokes(state);
  const auto found = tables_->strokes.find(character);
  if (found == tables_->strokes.end()) return std::nullopt;
  return found->second;
}

void XKeymap::indexStrokes(const KeyboardState& keyboard) {
  auto* keymap = tables_->keymap.get();
  tables_->indexed = keyboard;
  tables_->strokes.clear();
  const auto thirdLevel = thirdLevelKey();
  for (const auto& [shift, third] : {std::pair(false, false), {true, false}, {false, true}, {true, true}}) {
    if (third && !thirdLevel) continue;
    const Xkb<xkb_state> state(xkb_state_new(keymap));
    xkb_state_update_mask(state.get(), keyboard.heldModifiers, keyboard.latchedModifiers,
                          keyboard.lockedModifiers, 0, 0, keyboard.group);
    if (shift) xkb_state_update_key(state.get(), shiftKey(), XKB_KEY_DOWN);
    if (third) xkb_state_update_key(state.get(), *thirdLevel, XKB_KEY_DOWN);
    for (auto key = xkb_keymap_min_keycode(keymap); key <= xkb_keymap_max_keycode(keymap); ++key) {
      if (std::ranges::find(tables_->leftOut, key) != tables_->leftOut.end()) continue;
      const auto character = characterOf(xkb_state_key_get_one_sym(state.get(), key));
      if (character != 0)
        tables_->strokes.try_emplace(character, TypingStroke{static_cast<std::uint8_t>(key), shift, third});
    }
  }
}

std::optional<std::uint8_t> XKeymap::keyOf(std::uint32_t keysym) const {
  auto* keymap = tables_->keymap.get();
  for (auto key = xkb_keymap_min_keycode(keymap); key <= xkb_keymap_max_keycode(keymap); ++key) {
    for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts_for_key(keymap, key); ++group) {
      const xkb_keysym_t* keysyms = nullptr;
      const int count = xkb_keymap_key_get_syms_by_level(keymap, key, group, 0, &keysyms);
      if (count > 0 && keysyms[0] == keysym) return static_cast<std::uint8_t>(key);
    }
  }
  return std::nullopt;
}

std::vector<std::uint8_t> XKeymap::unusedKeycodes() const {
  auto* keymap = tables_->keymap.get();
  std::vector<std::uint8_t> result;
  const auto isUsed = [&](xkb_keycode_t key) {
    for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts_for_key(keymap, key); ++group)
      for (xkb_level_index_t level = 0; level < xkb_keymap_num_levels_for_key(keymap, key, group); ++level) {
        const xkb_keysym_t* keysyms = nullptr;
        if (xkb_keymap_key_get_syms_by_level(keymap, key, group, level, &keysyms) > 0) return true;
      }
    return false;
  };
  for (auto key = xkb_keymap_min_keycode(keymap); key <= xkb_keymap_max_keycode(keymap); ++key)
    if (!isUsed(key)) result.push_back(static_cast<std::uint8_t>(key));
  return result;
}

std::uint32_t XKeymap::keysymAt(std::uint8_t keycode) const {
  const xkb_keysym_t* keysyms = nullptr;
  const int count = xkb_keymap_key_get_syms_by_level(tables_->keymap.get(), keycode, 0, 0, &keysyms);
  return count > 0 ? keysyms[0] : 0;
}

std::uint8_t XKeymap::shiftKey() const { return keyOf(XKB_KEY_Shift_L).value_or(kUsualShiftKey); }

std::optional<std::uint8_t> XKeymap::thirdLevelKey() const { return keyOf(XKB_KEY_ISO_Level3_Shift); }

}  // namespace tevanto
