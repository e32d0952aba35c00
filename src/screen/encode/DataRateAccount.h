#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// DataRateAccount compares a leaky bucket by the clock with the same bucket as the encoder counts it.
///
///     full --.               .--------  left by the clock: refills all the time
///             \           .'
///              '---------'------------  left as the encoder counts: refills with frames only
///     frames  | | | | |   (pause)   |   a large change here meets the gap: begin the encoder anew
///
/// The clock refills the bucket all the time, the encoder only by one frame interval for each frame. After a
/// pause the encoder counts on too little and would make the next large change needlessly coarse; one that is
/// begun anew knows of all that is left. Frames that come faster than expected make it count on too much.
/// A value. In bits; times are of a clock, not of the pictures.
class DataRateAccount {
 public:
  DataRateAccount() = default;
  /// Bits per second, bits, frames per second.
  DataRateAccount(std::int64_t rate, std::int64_t size, std::int64_t fps)
      : rate_(rate),
        size_(size),
        perFrame_(rate / std::max<std::int64_t>(fps, 1)),
        pause_(3 * PresentationTime(std::chrono::seconds(1)) / std::max<std::int64_t>(fps, 1)),
        left_(size),
        believed_(size) {}

  std::int64_t left(PresentationTime time) const {
    if (!lastTime_) return size_;
    // The bucket is full long before ten seconds are over, and the product stays within 64 bits.
    const auto pause = std::clamp<PresentationTime>(time - *lastTime_, {}, std::chrono::seconds(10));
    const std::int64_t gained = rate_ * (pause.count() / 1000) / 1'000'000;
    return std::min(size_, left_ + gained);
  }
  /// A quarter of the bucket or more is left that the encoder does not know of.
  bool encoderIsBehind(PresentationTime time) const {
    return left(time) - believed_ >= std::max<std::int64_t>(size_ / 4, 1);
  }

  /// So long after the last frame that it is no hiccup of moving pictures: three intervals.
  bool isAfterPause(PresentationTime time) const { return lastTime_ && time - *lastTime_ >= pause_; }
  /// The encoder counts on a quarter of the bucket or more that is not there: frames come too fast.
  bool encoderIsAhead(PresentationTime time) const {
    return believed_ - left(time) >= std::max<std::int64_t>(size_ / 4, 1);
  }

  void encoderBeganAnew(PresentationTime time) { believed_ = left(time); }
  void encoded(PresentationTime time, std::size_t bytes) {
    const auto bits = static_cast<std::int64_t>(bytes) * 8;
    left_ = left(time) - bits;
    lastTime_ = time;
    believed_ = std::min(size_, believed_ - bits + perFrame_);
  }

 private:
  std::int64_t rate_ = 0;
  std::int64_t size_ = 0;
  std::int64_t perFrame_ = 0;
  PresentationTime pause_{0};
  std::int64_t left_ = 0;
  std::int64_t believed_ = 0;
  std::optional<PresentationTime> lastTime_;
};

}  // namespace tevanto
