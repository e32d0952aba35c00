#pragma once

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// CaptureLeadTime tells how long before a picture is due the capture begins it.
///
///     due             |                    |                    |
///     without         |read, draw|encode   |read, draw|encode   |
///     with   read, draw|encode    read, draw|encode
///            <--lead-->           <--lead-->
///
/// Reading and drawing a page that scrolls takes a good part of the time of encoding it. Begun by so much
/// earlier, the picture goes out when it is due, and later changes are drawn into it. Small changes take no
/// time worth saving. Where most of an early picture is drawn over again, the work was wasted. Some pictures
/// are then begun when they are due, up to eight in a row while that goes on.
/// A value without a clock.
class CaptureLeadTime {
 public:
  using Duration = SerialQueue::Duration;

  explicit CaptureLeadTime(Duration frameInterval) : most_(frameInterval / 4) {}

  /// Of the next picture; zero when it is begun when it is due.
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
