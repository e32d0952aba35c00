#pragma once

#include <cstdint>

#include "control/InputEvents.h"

namespace tevanto {

/// MediaKeyEvent holds the fields of a system-defined event (type 14, subtype 8) for a key of a media
/// keyboard. Flags and data have `NX_KEYDOWN` (10) or `NX_KEYUP` (11) in the second byte. The data has the
/// key's type above it.
struct MediaKeyEvent {
  std::uint32_t modifierFlags = 0;
  std::int32_t data1 = 0;
  bool operator==(const MediaKeyEvent&) const = default;

  static constexpr std::int16_t kSubtype = 8;
  static constexpr std::int32_t kData2 = -1;
};

MediaKeyEvent mediaKeyEvent(MediaKey key, KeyDirection direction);

}  // namespace tevanto
