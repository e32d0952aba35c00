#include "screen/encode/PictureRefinement.h"

#include <algorithm>
#include <utility>

namespace tevanto {

PictureRefinement::PictureRefinement(std::shared_ptr<SerialQueue> queue,
                                     std::chrono::nanoseconds frameInterval, Steps steps)
    : QueueBound(std::move(queue)), frameInterval_(frameInterval), steps_(std::move(steps)) {}

void PictureRefinement::onPicture(const PixelBuffer* picture) {
  if (std::exchange(latest_, picture) != picture) left_ = kMostRefinements;
  if (!isAgain_) return waitFor(kPauseIntervals * frameInterval_);
  waitFor(left_ > 0 ? kNextPauseIntervals * frameInterval_ : kLongPause);
}

void PictureRefinement::waitFor(std::chrono::nanoseconds pause) {
  timer_ = queue()->asyncAfter(std::chrono::duration_cast<SerialQueue::Duration>(pause),
                               weakCall(&PictureRefinement::rested));
}

void PictureRefinement::rested() {
  assertOnQueue();
  if (steps_.isBlocked()) return waitFor(kLongPause);
  if (isAnew_.exchange(false)) left_ = kMostRefinements;
  if (!steps_.isMissing() && (left_ == 0 || steps_.isFinest())) return;
  left_ = std::max(left_ - 1, 0);
  isAgain_ = true;
  steps_.again();
  isAgain_ = false;
}

}  // namespace tevanto
