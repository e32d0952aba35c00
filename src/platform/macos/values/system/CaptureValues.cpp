#include "platform/macos/values/system/CaptureValues.h"

namespace tevanto {

std::optional<SampleStatus> sampleStatusOf(std::optional<std::int64_t> frameStatus) {
  if (!frameStatus) return std::nullopt;
  switch (*frameStatus) {
    case 0:
      return SampleStatus::complete;
    case 1:
      return SampleStatus::idle;
    case 2:
      return SampleStatus::blank;
    case 3:
      return SampleStatus::suspended;
    default:
      return std::nullopt;
  }
}

}  // namespace tevanto
