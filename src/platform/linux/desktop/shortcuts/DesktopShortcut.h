#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tevanto {

/// A key stroke of a desktop's shortcut, in the terms of key events. Super stands in the key code
/// (`kSuperKeyBit`), never as the command modifier, which may mean Control.
struct DesktopShortcut {
  std::uint16_t keyCode = 0;
  std::uint32_t modifiers = 0;  // eventFlag
  bool operator==(const DesktopShortcut&) const = default;

  /// As GTK writes it: "<Control><Alt>Left". Letters are those of the US layout. Nothing for what no key
  /// event can express.
  static std::optional<DesktopShortcut> fromGtk(std::string_view accelerator);
  /// As Qt writes it: "Meta+Ctrl+Left". "Meta" is the Super key.
  static std::optional<DesktopShortcut> fromQt(std::string_view sequence);
};

}  // namespace tevanto
