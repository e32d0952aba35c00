#include "screen/picture/CaptureLeadTime.h"

#include <algorithm>

namespace tevanto {
namespace {

constexpr int kLongestPause = 8;

}  // namespace

// A quarter more, as no two pictures take the same time.
void CaptureLeadTime::drew(Duration time, bool isLarge) {
  length_ = isLarge ? std::min(time + time / 4, most_) : Duration::zero();
  pause_ = std::max(pause_ - 1, 0);
}

void CaptureLeadTime::ended(bool isDrawnOver) {
  lastPause_ = isDrawnOver ? std::clamp(2 * lastPause_, 1, kLongestPause) : 0;
  pause_ = lastPause_;
}

}  // namespace tevanto
