#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// When a key frame that was asked for may come. One that is asked for right behind the last one says that
/// the way to the viewer is full, and another at once would only fill it further: it is as large as many
/// ordinary frames. So those that follow one another wait for each other, longer each time, up to as long as
/// a key frame is ever waited for. A value; times are of a clock.
class KeyFrameRequests {
 public:
  static constexpr std::chrono::seconds kFirstPause{1};
  static constexpr std::chrono::seconds kLongestPause{4};
  /// Frames behind a key frame, of which more have gone well than the one that was refused.
  static constexpr int kFewFrames = 1;

  bool mayBeMet(PresentationTime time) const {
    return !lastKeyFrame_ || framesSince_ > kFewFrames || time - *lastKeyFrame_ >= pause_;
  }
  /// A frame came out of the encoder.
  void encoded(PresentationTime time, bool isKeyFrame) {
    if (!isKeyFrame) {
      ++framesSince_;
      return;
    }
    const bool followsAnother = lastKeyFrame_ && framesSince_ <= kFewFrames;
    pause_ = followsAnother ? std::min<std::chrono::seconds>(pause_ * 2, kLongestPause) : kFirstPause;
    lastKeyFrame_ = time;
    framesSince_ = 0;
  }

 private:
  std::optional<PresentationTime> lastKeyFrame_;
  std::chrono::seconds pause_ = kFirstPause;
  int framesSince_ = 0;
};

}  // namespace tevanto
