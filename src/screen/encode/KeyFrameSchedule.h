#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// KeyFrameSchedule tells when the next key frame is due: after a number of frames or after a duration,
/// whichever comes first.
///
///     moving   K P P P P P P P K        `frames` after the last one
///     at rest  K     P         K        `duration` after the last one
///
/// An encoder that counts frames alone lets a viewer wait for minutes while few of them come. Zero switches a
/// limit off.
/// A value; times are of a clock.
class KeyFrameSchedule {
 public:
  KeyFrameSchedule() = default;
  KeyFrameSchedule(std::int64_t frames, std::chrono::nanoseconds duration)
      : frames_(frames), duration_(duration) {}

  bool isDue(PresentationTime time) const {
    if (!lastTime_) return true;
    if (frames_ > 0 && framesSince_ >= frames_) return true;
    return duration_.count() > 0 && time - *lastTime_ >= duration_;
  }
  /// A frame came out of the encoder.
  void encoded(PresentationTime time, bool isKeyFrame) {
    if (isKeyFrame) {
      lastTime_ = time;
      framesSince_ = 0;
    }
    ++framesSince_;
  }

 private:
  std::int64_t frames_ = 0;
  std::chrono::nanoseconds duration_{0};
  std::optional<PresentationTime> lastTime_;
  std::int64_t framesSince_ = 0;  // the last key frame included
};

}  // namespace tevanto
