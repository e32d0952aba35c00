#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// KeyFrameRequests rate-limits requested key frames: one a second, doubled up to 4 s while requests follow
/// each other.
///
///     frames    K P P P P K      K          K                    K
///     requests          ^ ^      ^          ^
///     answered     at once 1 s   2 s        4 s later, never more
///
/// A request right after a key frame means that the route is congested. Another key frame, many times the
/// size of a P frame, would make it worse.
/// A value; times are of a clock.
class KeyFrameRequests {
 public:
  static constexpr std::chrono::seconds kFirstPause{1};
  static constexpr std::chrono::seconds kLongestPause{4};
  /// So many frames after a key frame, at most, mean that the route refused one of the two.
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
