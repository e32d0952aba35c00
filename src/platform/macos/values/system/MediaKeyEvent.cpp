#include "platform/macos/values/system/MediaKeyEvent.h"

namespace tevanto {

MediaKeyEvent mediaKeyEvent(MediaKey key, KeyDirection direction) {
  const std::int32_t state = direction == KeyDirection::down ? 0xA00 : 0xB00;
  return {static_cast<std::uint32_t>(state), (static_cast<std::int32_t>(key) << 16) | state};
}

}  // namespace tevanto
