#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace tevanto::phone {

/// MirrorStatistics counts what the screen stream brings, in total and within the last second.
class MirrorStatistics {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr auto kWindow = std::chrono::seconds(1);
  /// How old the delay may get while the picture moves. Shorter than the four seconds in which a moving
  /// picture has a key frame anyway, so that the answer is not taken for one that was on its way.
  static constexpr auto kDelayAge = std::chrono::seconds(3);

  /// Report is the state of the counters at one moment.
  struct Report {
    std::chrono::milliseconds elapsed{0};  // since the hello
    std::int64_t frames = 0;               // decoded
    std::int64_t keyframes = 0;            // of these
    std::int64_t dropped = 0;    // arrived, but could not be shown; what the computer left out is not known
    std::int64_t bytes = 0;      // everything received
    double framesPerSecond = 0;  // within the last second
    double bitsPerSecond = 0;
    std::optional<double>
        decodeMilliseconds;  // mean, from a frame's arrival to its picture, within the last second
    /// From the last question for a key frame, the hello included, to its picture: the way to the computer,
    /// encoding, the way back and decoding; more while a later question has been open for longer than that.
    /// Frames carry no time, so the delay of each cannot be known.
    std::optional<double> delayMilliseconds;
    int width = 0;
    int height = 0;
  };

  explicit MirrorStatistics(Time start) : start_(start), asked_(start) {}

  void received(std::size_t bytes, Time now);
  void asked(Time now) { asked_ = now; }
  void dropped() { ++totals_.dropped; }
  void decoded(bool isKeyframe, Time arrived, Time now);
  void shown(int width, int height);
  Report report(Time now);
  /// The picture moves, and it is some time since the delay was asked for. A picture at rest has none, and is
  /// left in peace.
  bool isDelayOld(Time now);

 private:
  struct Piece {
    Time time;
    std::size_t bytes;
  };
  struct Frame {
    Time time;
    double decodeMilliseconds;
  };
  void forgetBefore(Time oldest);

  const Time start_;
  std::optional<Time> asked_;
  std::optional<Time> lastKeyframe_;
  Report totals_;
  std::deque<Piece> pieces_;  // of the last second
  std::deque<Frame> frames_;
};

}  // namespace tevanto::phone
