#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace tevanto {

/// ICU counts in 32 bits; nothing here is near 2 GiB, and what is gets cut.
inline std::int32_t icuLength(std::size_t size) {
  constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
  return static_cast<std::int32_t>(std::min(size, kMost));
}

}  // namespace tevanto
