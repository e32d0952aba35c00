#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/SerialQueue.h"

namespace tevanto {

/// Which keysym each borrowed key code carries, and when it may carry another one. A client that is told of a
/// new mapping asks the server for the mapping of that moment, so a code that is reassigned while its last
/// stroke still waits in the client's queue turns that stroke into the wrong character. Does no I/O.
class SpareKeyPool {
 public:
  using TimePoint = SerialQueue::TimePoint;
  using Keycode = std::uint8_t;
  using Keysym = std::uint32_t;

  /// How long after its last stroke a code stays as it is. At 80 ms no stroke of 12,000 came out wrong, at 0
  /// half of them did.
  static constexpr auto kReuseAfter = std::chrono::milliseconds(80);

  /// Xlib asks for the keymap at a program's first key event, and to be told of changes only afterwards: a
  /// change in between is lost on it. So the first strokes after a rest are left some time before a code is
  /// assigned.
  static constexpr auto kFirstStrokesTake = std::chrono::milliseconds(50);
  static constexpr auto kRest = std::chrono::seconds(1);

  struct Spare {
    Keycode keycode = 0;
    Keysym keysym = 0;  // 0: none
  };
  /// The codes that may be used, with what they carry now. What is known of the ones that stay is kept.
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
  /// When the next code may be claimed; nothing without codes.
  std::optional<TimePoint> nextClaim() const;
  /// Nothing is carried any more.
  void giveBack();

 private:
  struct Slot {
    Keycode keycode = 0;
    Keysym keysym = 0;
    TimePoint freeFrom = TimePoint::min();
    bool inUse = false;
  };

  std::vector<Slot> slots_;
  TimePoint lastStrokes_ = TimePoint::min();
  TimePoint claimsFrom_ = TimePoint::min();
};

}  // namespace tevanto
