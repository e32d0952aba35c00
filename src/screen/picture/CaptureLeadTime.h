#pragma once

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// How long before it is due a picture is begun. Reading and drawing a page that scrolls takes a good part of
/// what encoding it does: begun so much earlier, it can go out when it is due, with what is drawn over
/// meanwhile put in. Small changes take no time worth saving. Where most of an early picture is drawn over,
/// that was work for nothing, and some pictures wait for their moment, up to eight where it goes on so. A
/// value without a clock.
class CaptureLeadTime {
 public:
  using Duration = SerialQueue::Duration;

  explicit CaptureLeadTime(Duration frameInterval) : most_(frameInterval / 4) {}

  /// Of the next picture; zero when it waits for its moment.
  Duration length() const { return pause_ == 0 ? length_ : Duration::zero(); }
  /// A picture took `time` to be read and drawn, before or when it was due.
  void drew(Duration time, bool isLarge);
  /// A picture that was begun early is due.
  void ended(bool isDrawnOver);

 private:
  const Duration most_;
  Duration length_{0};
  int lastPause_ = 0;  // pictures
  int pause_ = 0;      // of which are left
};

}  // namespace tevanto
