#include "platform/macos/values/system/MediaTime.h"

#include <limits>

namespace tevanto {
namespace {

constexpr std::int64_t kNanoseconds = 1'000'000'000;
constexpr std::int64_t kMostMediaSeconds = std::numeric_limits<std::int64_t>::max() / kNanoseconds - 1;

/// To the nearest, halves away from zero.
std::int64_t roundedQuotient(std::int64_t dividend, std::int64_t divisor) {
  return (dividend + (dividend < 0 ? -divisor : divisor) / 2) / divisor;
}

}  // namespace

MediaTime mediaTimeOf(std::chrono::nanoseconds time) {
  return {time.count(), static_cast<std::int32_t>(kNanoseconds)};
}

MediaTime frameIntervalOf(std::chrono::nanoseconds interval) {
  const auto length = interval.count();
  if (length <= 0) return {};
  const auto rate = roundedQuotient(kNanoseconds, length);
  const bool isWhole = rate > 0 && rate <= std::numeric_limits<std::int32_t>::max() &&
                       roundedQuotient(kNanoseconds, rate) == length;
  return isWhole ? MediaTime{1, static_cast<std::int32_t>(rate)} : mediaTimeOf(interval);
}

std::optional<std::chrono::nanoseconds> nanosecondsOf(const MediaTime& time) {
  if (time.timescale <= 0) return std::nullopt;
  const auto seconds = time.value / time.timescale;
  if (seconds > kMostMediaSeconds || seconds < -kMostMediaSeconds) return std::nullopt;
  const auto rest = time.value % time.timescale;
  return std::chrono::nanoseconds(seconds * kNanoseconds +
                                  roundedQuotient(rest * kNanoseconds, time.timescale));
}

}  // namespace tevanto
