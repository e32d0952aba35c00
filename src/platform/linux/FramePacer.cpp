#include "platform/linux/FramePacer.h"

namespace tevanto {

std::optional<FramePacer::Duration> FramePacer::wait(TimePoint now) const {
  if (!changed_) return std::nullopt;
  return now >= earliest_ ? Duration::zero() : earliest_ - now;
}

void FramePacer::postponed(TimePoint now) {
  changed_ = true;
  earliest_ = now + minimumInterval_;
}

}  // namespace tevanto
