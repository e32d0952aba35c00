#pragma once

#include <optional>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// FramePacer tells when a picture is taken: at once for the first change after rest, then one interval after
/// the last one was due. Each change leads to a picture after it, so that the last change of a burst is never
/// lost.
/// A value without a clock or timer.
class FramePacer {
 public:
  using Duration = SerialQueue::Duration;
  using TimePoint = SerialQueue::TimePoint;

  explicit FramePacer(Duration minimumInterval) : minimumInterval_(minimumInterval) {}

  /// Something on the screen changed.
  void changed() { changed_ = true; }
  /// How long until the next picture, zero when it is due; absent when nothing changed since the last one.
  std::optional<Duration> wait(TimePoint now) const;
  /// The screen is about to be looked at: what changes from here on is for a later picture.
  void beginPicture() { changed_ = false; }
  /// A picture went out. `begunAt`: when it was begun.
  void delivered(TimePoint begunAt);
  /// A change was seen but could not be delivered; it is due again one interval later.
  void postponed(TimePoint now);

 private:
  const Duration minimumInterval_;
  TimePoint earliest_ = TimePoint::min();
  bool changed_ = false;
};

}  // namespace tevanto
