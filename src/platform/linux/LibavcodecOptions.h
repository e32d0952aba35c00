#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "screen/EncoderSession.h"

struct AVCodecContext;

namespace tevanto {

/// What a compression session asks of its encoder.
struct EncoderSettings {
  std::int32_t width = 0;
  std::int32_t height = 0;
  PixelFormat format = PixelFormat::nv12;
  std::int64_t bitRate = 6'000'000;       // bits per second
  std::int64_t fps = 15;                  // expected
  std::int64_t maxKeyFrameInterval = 60;  // frames
  std::optional<DataRateLimit> dataRateLimit;
  std::optional<std::int64_t> left;  // bits in the leaky bucket at the beginning; else it is full
};

/// What encoders know as their virtual buffer: it fills at `rate`, each picture takes its bits out of it.
struct LeakyBucket {
  std::int64_t rate;  // bits per second
  std::int64_t size;  // bits
};

/// The bucket that keeps each window of the data rate limit, wherever it begins: a window takes at most the
/// whole bucket and what flows in meanwhile. One part in twenty is left for an encoder's misjudgements. The
/// bucket is no larger than five pictures' flow where that pays: x264 lets one picture have all of such a
/// bucket, but only half of a larger one.
LeakyBucket leakyBucket(const EncoderSettings& settings);

/// The floor of the quantiser: finer ones cost bits that nobody sees on text.
inline constexpr int kFinestQuantizer = 18;

/// libavcodec's names of the encoders, the best first; the last one always works.
const std::vector<std::string>& encoderCandidates();

/// Sets what all encoders have in common: size, rates, colours, key frames.
void applySettings(AVCodecContext& context, const EncoderSettings& settings);

/// The private options of an encoder for low latency: nothing held back, key frames only where they are asked
/// for, Main profile.
std::vector<std::pair<std::string, std::string>> privateOptions(const std::string& encoder);

}  // namespace tevanto
