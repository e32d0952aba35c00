#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "screen/encode/EncoderSession.h"

namespace tevanto {

/// EncoderSettings are the demands of a compression session on its encoder.
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

/// LeakyBucket is the virtual buffer of an encoder: it fills at `rate`, and each picture takes its bits out
/// of it.
struct LeakyBucket {
  std::int64_t rate;  // bits per second
  std::int64_t size;  // bits
};

/// The bucket that keeps each window of the data rate limit, wherever it begins: a window takes at most the
/// whole bucket and what flows in meanwhile. One part in twenty is left for an encoder's misjudgments. The
/// bucket is no larger than five pictures' flow where that pays: x264 lets one picture have all of such a
/// bucket, but only half of a larger one.
LeakyBucket leakyBucket(const EncoderSettings& settings);
/// How many bits are in it at the beginning: one at least.
std::int64_t bitsAtBeginning(const EncoderSettings& settings);
/// The expected frame rate, within what encoders take.
int frameRate(const EncoderSettings& settings);
/// Frames from one key frame to the next at the most, within what encoders take.
int keyFrameInterval(const EncoderSettings& settings);

/// The floor of the quantizer: finer ones cost bits that nobody sees on text.
inline constexpr int kFinestQuantizer = 18;

/// The encoder in software; it always works.
inline constexpr const char* kSoftwareEncoder = "libx264";
/// The encoders' names, the best first: libavcodec's for those in hardware, then the one in software.
const std::vector<std::string>& encoderCandidates();

}  // namespace tevanto
