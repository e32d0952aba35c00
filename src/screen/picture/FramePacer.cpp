#include "screen/picture/FramePacer.h"

namespace tevanto {
namespace {

/// Parts of an interval by which a picture may be late and the next one is not: timers are, a little, and
/// each would put off all that follow.
constexpr int kLatePart = 16;

}  // namespace

std::optional<FramePacer::Duration> FramePacer::wait(TimePoint now) const {
  if (!changed_) return std::nullopt;
  return now >= earliest_ ? Duration::zero() : earliest_ - now;
}

void FramePacer::delivered(TimePoint begunAt) {
  const bool isInTime = begunAt < earliest_ + minimumInterval_ / kLatePart;
  earliest_ = (isInTime ? earliest_ : begunAt) + minimumInterval_;
}

void FramePacer::postponed(TimePoint now) {
  changed_ = true;
  earliest_ = now + minimumInterval_;
}

}  // namespace tevanto
