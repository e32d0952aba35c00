#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tevanto {

/// Virtual key codes: each stands for a physical key, named by what the US layout prints on it.
namespace keyCode {
inline constexpr std::uint16_t kA = 0;
inline constexpr std::uint16_t kQ = 12;
inline constexpr std::uint16_t kF11 = 103;
inline constexpr std::uint16_t kArrowLeft = 123;
inline constexpr std::uint16_t kArrowRight = 124;
inline constexpr std::uint16_t kArrowDown = 125;
inline constexpr std::uint16_t kArrowUp = 126;
}  // namespace keyCode

/// The key that a "keyPress" names: one of the named keys ("escape", "arrowLeft", ...; exactly so written),
/// else the key of the name's first character, in lower case. Nothing when there is no such key; shifted
/// symbols are reached by their base key with the shift modifier.
std::optional<std::uint16_t> keyCodeNamed(std::string_view name);

/// F1 to F20.
bool isFunctionKey(std::uint16_t code);
bool isArrowKey(std::uint16_t code);

}  // namespace tevanto
