#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// How much of a leaky bucket is left by the clock, and how much an encoder believes is left that takes every
/// frame for one interval. After a pause the encoder knows of less than there is, and would make the next
/// large change needlessly coarse; begun anew it knows of all. Frames that come faster than expected make it
/// believe in more than there is. In bits; times are of a clock, not of the pictures.
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
