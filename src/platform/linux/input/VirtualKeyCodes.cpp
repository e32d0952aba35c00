#include "platform/linux/input/VirtualKeyCodes.h"

#include <array>

namespace tevanto {
namespace {

constexpr std::size_t kCodes = 0x80;

// Rows of eight, by virtual key code; 0 = no such key. The US names of the keys stand beside them.
constexpr std::array<std::uint8_t, kCodes> kXKeycodes{
    38,  39,  40,  41,  43,  42,  52,  53,   // a s d f h g z x
    54,  55,  94,  56,  24,  25,  26,  27,   // c v (key beside left shift) b q w e r
    29,  28,  10,  11,  12,  13,  15,  14,   // y t 1 2 3 4 6 5
    21,  18,  16,  20,  17,  19,  35,  32,   // = 9 7 - 8 0 ] o
    30,  34,  31,  33,  36,  46,  44,  48,   // u [ i p return l j '
    45,  47,  51,  59,  61,  57,  58,  60,   // k ; backslash , / n m .
    23,  65,  49,  22,  0,   9,   134, 133,  // tab space ` delete - escape right-command command
    50,  66,  64,  37,  62,  108, 105, 0,    // shift caps option control, then the right-hand ones, fn
    195, 91,  0,   63,  0,   86,  0,   77,   // F17 keypad . - * - + - clear
    0,   0,   0,   106, 104, 0,   82,  196,  // - - - keypad / enter - keypad-minus F18
    197, 125, 90,  87,  88,  89,  83,  84,   // F19 keypad = 0 1 2 3 4 5
    85,  79,  198, 80,  81,  0,   0,   0,    // keypad 6 7 F20 keypad 8 9
    71,  72,  73,  69,  74,  75,  0,   95,   // F5 F6 F7 F3 F8 F9 - F11
    0,   191, 194, 192, 0,   76,  0,   96,   // - F13 F16 F14 - F10 - F12
    0,   193, 118, 110, 112, 119, 70,  115,  // - F15 help home page-up forward-delete F4 end
    68,  117, 67,  113, 114, 116, 111, 0,    // F2 page-down F1 left right down up
};

}  // namespace

std::optional<std::uint8_t> xKeycodeOf(std::uint16_t virtualKeyCode) {
  const std::size_t code = virtualKeyCode & static_cast<std::uint16_t>(~kSuperKeyBit);
  if (code >= kCodes || kXKeycodes[code] == 0) return std::nullopt;
  return kXKeycodes[code];
}

}  // namespace tevanto
