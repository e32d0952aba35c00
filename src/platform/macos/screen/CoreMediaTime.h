#pragma once

#import <CoreMedia/CoreMedia.h>

#include <optional>

#include "platform/macos/values/system/MediaTime.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

inline CMTime coreMediaTime(const MediaTime& time) { return CMTimeMake(time.value, time.timescale); }

/// Empty for a value that is no time: invalid, indefinite, infinite.
inline std::optional<PresentationTime> presentationTimeOf(CMTime time) {
  if (!CMTIME_IS_NUMERIC(time)) return std::nullopt;
  return nanosecondsOf({time.value, time.timescale});
}

}  // namespace tevanto
