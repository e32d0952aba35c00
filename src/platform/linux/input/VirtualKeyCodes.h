#pragma once

#include <cstdint>
#include <optional>

namespace tevanto {

/// Set in a virtual key code: the Super key is held around the stroke. It exists only between the adapters of
/// this folder: a desktop's own shortcut may need Super, and none of the four modifiers of an event says so,
/// because command usually means Control here. Virtual key codes end at 0x7f, so the bit is free.
inline constexpr std::uint16_t kSuperKeyBit = 0x4000;

/// The command key itself, where a PC keyboard has its left Super key. Tapping it alone is how desktops open
/// their overview.
inline constexpr std::uint16_t kSuperKeyCode = 55;

/// The X keycode (evdev numbering: kernel key code + 8) of the same physical key. Nothing for a key that no
/// PC keyboard has. `kSuperKeyBit` is ignored.
std::optional<std::uint8_t> xKeycodeOf(std::uint16_t virtualKeyCode);

}  // namespace tevanto
