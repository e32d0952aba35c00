#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

#include "core/queue/QueueBound.h"

namespace tevanto {

class PixelBuffer;

/// PictureRefinement makes a picture that stands still as good as the encoder can. Under its data cap an
/// encoder makes large changes and key frames coarse, and without another picture it would leave them so. The
/// latest picture is therefore encoded again, a few times, from a moment after the last change until the
/// encoder did its best; then nothing runs any more. Pictures that move come before that moment, and are not
/// refined.
///
///     picture --pause--> again --shorter pause--> again ... best, or ten times: silence
///
/// It also brings a phone up to date that lacks the last picture, because its route refused it or the encoder
/// left it out. That goes on for as long as it takes, and pauses while the route has no room.
/// Lives on the capture queue; belongs to one session.
class PictureRefinement final : public QueueBound<PictureRefinement> {
 public:
  /// Measured: a display full of the smallest text takes seven or eight, most pictures two or three.
  static constexpr int kMostRefinements = 10;
  /// In frame intervals: longer than between the frames of what moves, ten times a second included.
  static constexpr int kPauseIntervals = 3;
  /// Between refinements; all of them fit into a second and a half.
  static constexpr int kNextPauseIntervals = 2;
  /// While the route has no room, and where all that was not enough for a phone that lacks the picture.
  static constexpr auto kLongPause = std::chrono::seconds(1);

  /// Steps holds the functions of the session that refinement calls, on the capture queue.
  struct Steps {
    std::function<void()> again;      // delivers the latest picture once more, before it returns
    std::function<bool()> isFinest;   // the last picture came out as good as any
    std::function<bool()> isMissing;  // the phone lacks the last picture
    std::function<bool()> isBlocked;  // and a key frame would not reach it yet
  };

  PictureRefinement(std::shared_ptr<SerialQueue> queue, std::chrono::nanoseconds frameInterval, Steps steps);

  /// A picture came, new or again.
  void onPicture(const PixelBuffer* picture);
  /// A key frame went out: it may be coarse, whatever was reached before. From any thread.
  void keyframeWasSent() { isAnew_ = true; }

 private:
  void waitFor(std::chrono::nanoseconds pause);
  void rested();

  const std::chrono::nanoseconds frameInterval_;
  const Steps steps_;
  std::atomic<bool> isAnew_ = false;
  const PixelBuffer* latest_ = nullptr;  // to tell it from the next one only
  bool isAgain_ = false;                 // the picture was asked for here
  int left_ = 0;
  Timer timer_;
};

}  // namespace tevanto
