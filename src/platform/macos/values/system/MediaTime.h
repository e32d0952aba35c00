#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace tevanto {

/// A time as Core Media counts it: `value` units, of which `timescale` make a second.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 1;

  bool operator==(const MediaTime&) const = default;
};

/// In nanoseconds, exactly.
MediaTime mediaTimeOf(std::chrono::nanoseconds time);

/// The time between two frames: one unit of their rate when there is a whole number of them in a second,
/// which no count of nanoseconds says exactly; else in nanoseconds.
MediaTime frameIntervalOf(std::chrono::nanoseconds interval);

/// The nearest nanosecond; nothing for what is no time, or too far away to be counted so.
std::optional<std::chrono::nanoseconds> nanosecondsOf(const MediaTime& time);

}  // namespace tevanto
