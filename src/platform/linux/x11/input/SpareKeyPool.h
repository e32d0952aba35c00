#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// Which keysym each borrowed key code carries, and when it may carry another one. A client that is told of a
/// new mapping asks the server for the mapping of that moment, so a code that is reassigned while its last
/// stroke still waits in the client's queue turns that stroke into the wrong character. Does no I/O.
class SpareKeyPool {
 public:
  using TimePoint = SerialQueue::TimePoint;
  using Keycode = std::uint8_t;
  using Keysym = std::uint32_t;

  /// How long after its last stroke a code stays as it is, at least. At 80 ms no stroke of 12,000 came out
  /// wrong on a machine with time to spare, at 0 half of them did.
  static constexpr auto kReuseAfter = std::chrono::milliseconds(80);
  /// On a busy machine clients are late, and so are we: by how much we are is what can be seen of it. Each
  /// code then rests this many times our own delay longer, within a limit.
  static constexpr int kDelayFactor = 8;
  static constexpr auto kLongestReuseAfter = std::chrono::milliseconds(500);

  /// Xlib asks for the keymap at a program's first key event, and to be told of changes only afterwards: a
  /// change in between is lost on it. So the first strokes after a rest are left some time before a code is
  /// assigned.
  static constexpr auto kFirstStrokesTake = std::chrono::milliseconds(50);
  static constexpr auto kRest = std::chrono::seconds(1);

  struct Spare {
    Keycode keycode = 0;
    Keysym keysym = 0;  // 0: none
  };
  /// The codes that may be used, with what they carry now. The state of those that stay is kept.
  void assign(const std::vector<Spare>& spares);
  bool empty() const { return slots_.empty(); }
  bool owns(int keycode) const;
  /// The codes that carry a keysym.
  std::vector<Spare> carrying() const;

  /// The code that carries `keysym`. It is in use until `typed`.
  std::optional<Keycode> find(Keysym keysym);
  /// A code that may carry `keysym` from now on: the one that has rested longest. In use until `typed`.
  std::optional<Keycode> claim(Keysym keysym, TimePoint now);
  /// Strokes, and among them the codes in use, have been sent.
  void typed(TimePoint now);
  /// How late a timer of ours was, or how long the server took to answer. It counts less with every other
  /// one.
  void observeDelay(SerialQueue::Duration delay);
  /// When the next code may be claimed; nothing without codes.
  std::optional<TimePoint> nextClaim() const;
  /// Nothing is carried any more.
  void releaseAll();

 private:
  static constexpr TimePoint kNever{};  // of a monotonic clock: when the machine was started

  struct Slot {
    Keycode keycode = 0;
    Keysym keysym = 0;
    TimePoint typedAt = kNever;
    bool inUse = false;
  };

  SerialQueue::Duration reuseAfter() const;

  std::vector<Slot> slots_;
  SerialQueue::Duration delay_{};
  TimePoint lastStrokes_ = kNever;
  TimePoint claimsFrom_ = kNever;
};

}  // namespace tevanto
