#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace tevanto {

/// MediaTime is a time in the units of Core Media: `value` units, of which `timescale` make a second.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 1;

  bool operator==(const MediaTime&) const = default;
};

/// In nanoseconds, exactly.
MediaTime mediaTimeOf(std::chrono::nanoseconds time);

/// Returns the time between two frames. It is one unit of their rate when a second has a whole number of
/// them, since nanoseconds cannot express that exactly; otherwise it is in nanoseconds.
MediaTime frameIntervalOf(std::chrono::nanoseconds interval);

/// The nearest nanosecond. Empty for a value that is no time, or that is out of range.
std::optional<std::chrono::nanoseconds> nanosecondsOf(const MediaTime& time);

}  // namespace tevanto
