#include "screen/encode/EncoderSettings.h"

#include <algorithm>
#include <limits>

namespace tevanto {
namespace {

/// Below this an encoder of moving pictures cannot go, whatever it is asked for; bits per second.
constexpr std::int64_t kLeastBitRate = 64'000;
constexpr std::int64_t kMostFramesPerSecond = 1000;

}  // namespace

LeakyBucket leakyBucket(const EncoderSettings& settings) {
  const std::int64_t most = std::numeric_limits<std::int32_t>::max();
  auto rate = std::clamp(settings.bitRate, kLeastBitRate, most);
  const auto burst = rate * 5 / frameRate(settings) * 99 / 100;
  auto size = rate / 2;
  if (settings.dataRateLimit) {
    const auto seconds = std::max<std::int64_t>(settings.dataRateLimit->window.count(), 1);
    const auto limit = std::clamp<std::int64_t>(settings.dataRateLimit->bytes, 1, most) * 8 * 19 / 20;
    rate = std::clamp(limit * 2 / 3 / seconds, kLeastBitRate, rate);
    size = std::max(limit - rate * seconds, rate / 4);
  }
  return {rate, std::min(std::max(std::min(size, burst), size / 2), most)};
}

std::int64_t bitsAtBeginning(const EncoderSettings& settings) {
  const auto size = leakyBucket(settings).size;
  return std::clamp<std::int64_t>(settings.left.value_or(size), 1, size);
}

int frameRate(const EncoderSettings& settings) {
  return static_cast<int>(std::clamp<std::int64_t>(settings.fps, 1, kMostFramesPerSecond));
}

int keyFrameInterval(const EncoderSettings& settings) {
  return static_cast<int>(
      std::clamp<std::int64_t>(settings.maxKeyFrameInterval, 1, std::numeric_limits<int>::max()));
}

const std::vector<std::string>& encoderCandidates() {
  static const std::vector<std::string> names{"h264_nvenc", "h264_vaapi", "h264_qsv", kSoftwareEncoder};
  return names;
}

}  // namespace tevanto
