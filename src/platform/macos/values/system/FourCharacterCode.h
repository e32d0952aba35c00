#pragma once

#include <cstdint>

namespace tevanto {

/// Returns the code of a type or format on macOS: four characters, the first in the highest byte.
constexpr std::uint32_t fourCharacterCode(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

}  // namespace tevanto
