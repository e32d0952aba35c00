#include "screen/PictureRefinement.h"

#include <algorithm>
#include <utility>

namespace tevanto {

PictureRefinement::PictureRefinement(std::shared_ptr<SerialQueue> queue,
                                     std::chrono::nanoseconds frameInterval, Steps steps)
    : queue_(std::move(queue)), frameInterval_(frameInterval), steps_(std::move(steps)) {}

void PictureRefinement::pictureCame(const PixelBuffer* picture) {
  if (std::exchange(latest_, picture) != picture) left_ = kMostRefinements;
  waitFor((std::exchange(isAgain_, false) ? kNextPauseIntervals : kPauseIntervals) * frameInterval_);
}

void PictureRefinement::waitFor(std::chrono::nanoseconds pause) {
  timer_ =
      queue_->asyncAfter(std::chrono::duration_cast<SerialQueue::Duration>(pause), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->rested();
      });
}

void PictureRefinement::rested() {
  if (steps_.isBlocked()) {
    left_ = std::max(left_, 1);  // for when the route takes it
    return waitFor(kBlockedPause);
  }
  if (isAnew_.exchange(false)) left_ = kMostRefinements;
  if (left_ == 0) return;
  if (steps_.isFinest() && !steps_.isAwaitingKeyframe()) return;
  --left_;
  isAgain_ = true;
  steps_.again();
}

}  // namespace tevanto
