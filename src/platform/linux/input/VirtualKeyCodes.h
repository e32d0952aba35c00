#pragma once

#include <cstdint>
#include <optional>

namespace tevanto {

/// Set in a virtual key code, this bit asks for the Super key to be held around the stroke. A desktop's own
/// shortcut may need Super, and none of the four modifiers of an event means it, because command usually is
/// Control here. Virtual key codes end at 0x7f, so the bit is free.
///
/// The platform sets it in the key codes of the hot key preferences (`DesktopShortcut`) and reads it where a
/// key is pressed. In between, the control layer compares such a code with its tables of keys and does not
/// find it: an arrow or function key with this bit gets no flags of its kind. No Linux adapter reads those
/// flags.
inline constexpr std::uint16_t kSuperKeyBit = 0x4000;

/// The command key itself, where a PC keyboard has its left Super key. Desktops open their overview when it
/// is tapped alone.
inline constexpr std::uint16_t kSuperKeyCode = 55;

/// Returns the X keycode (evdev numbering: kernel key code + 8) of the same physical key. Nothing for a key
/// that no PC keyboard has. `kSuperKeyBit` is ignored.
std::optional<std::uint8_t> xKeycodeOf(std::uint16_t virtualKeyCode);

}  // namespace tevanto
