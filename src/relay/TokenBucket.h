#pragma once

#include <algorithm>
#include <chrono>

namespace tevanto::relay {

/// Lets `rate` messages a second through on average, and up to `burst` at once after a quiet time.
class TokenBucket {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  TokenBucket() = default;
  TokenBucket(double rate, double burst, TimePoint now)
      : rate_(static_cast<float>(rate)), burst_(static_cast<float>(burst)), tokens_(burst_), filled_(now) {}

  /// True when one more may pass at `now`; if so, it is counted.
  bool take(TimePoint now) {
    const std::chrono::duration<float> passed = now - filled_;
    tokens_ = std::min(burst_, tokens_ + rate_ * std::max(passed.count(), 0.0F));
    filled_ = now;
    if (tokens_ < 1) return false;
    tokens_ -= 1;
    return true;
  }

 private:
  float rate_ = 0;
  float burst_ = 0;
  float tokens_ = 0;
  TimePoint filled_;
};

}  // namespace tevanto::relay
