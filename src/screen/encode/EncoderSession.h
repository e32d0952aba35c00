#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "core/Result.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// VideoCodec is a format of compressed video, by its four-character code.
enum class VideoCodec : std::uint32_t { h264 = 0x61766331 };  // 'avc1'

/// EncoderProperty is a property of a compression session, with the type and unit of its value.
enum class EncoderProperty {
  realTime,                     // bool
  profileLevel,                 // EncoderProfileLevel
  allowFrameReordering,         // bool
  maxKeyFrameInterval,          // std::int64_t, frames
  maxKeyFrameIntervalDuration,  // std::int64_t, seconds, also when frames are far apart
  averageBitRate,               // std::int64_t, bits per second
  dataRateLimits,               // DataRateLimit
  expectedFrameRate,            // std::int64_t, frames per second
};

/// EncoderProfileLevel is the profile of the stream; the encoder chooses the level.
enum class EncoderProfileLevel { h264MainAutoLevel };

/// DataRateLimit allows at most `bytes` in every window of `window`, by the clock. The pictures' own times
/// do not count: a picture that is delivered again has an invented one, and the network carries bytes by the
/// clock.
struct DataRateLimit {
  std::int64_t bytes = 0;
  std::chrono::seconds window{1};

  bool operator==(const DataRateLimit&) const = default;
};

/// EncoderPropertyValue is the value of a property, of the type that EncoderProperty names.
using EncoderPropertyValue = std::variant<bool, std::int64_t, EncoderProfileLevel, DataRateLimit>;

/// EncodeFrameProperties holds the options of one frame.
struct EncodeFrameProperties {
  bool forceKeyFrame = false;

  bool operator==(const EncodeFrameProperties&) const = default;
};

/// EncodedSample is the output for one frame. The bytes are valid during the output handler only.
struct EncodedSample {
  /// Attachments holds the sample's attachments; `notSync` absent or false marks a key frame (IDR).
  struct Attachments {
    std::optional<bool> notSync;
  };
  std::optional<Attachments> attachments;
  /// From the sample's format: NAL units without start code or length; needed on key frames only.
  std::optional<std::span<const std::byte>> sps;
  std::optional<std::span<const std::byte>> pps;
  /// Slices and SEI only, each NAL unit behind its length as a 4-byte big-endian integer.
  std::optional<std::span<const std::byte>> data;
  /// True when the encoder did its best, so that the same picture again would gain nothing; absent when it
  /// does not tell.
  std::optional<bool> isFinest;
};

/// EncodeStatus is the outcome of one frame.
enum class EncodeStatus { success, failure };

/// EncoderSession is one compression session for pictures of one size.
/// `invalidate` is thread-safe; the other calls come one at a time. It may be destroyed on any thread, within
/// an output handler too.
class EncoderSession {
 public:
  /// OutputHandler receives the output for one frame; `sample` is null when nothing came out. A picture is
  /// left out where the data rate does not allow for it, or where one key frame is requested right after
  /// another; the key frame then comes with a later picture. Called on any thread, also within
  /// `encodeFrame`; never later than the next frame's.
  using OutputHandler = std::function<void(EncodeStatus status, const EncodedSample* sample)>;

  virtual ~EncoderSession() = default;

  /// Before `prepareToEncodeFrames`. A failure changes nothing; the session still works.
  virtual Result<void> setProperty(EncoderProperty property, const EncoderPropertyValue& value) = 0;
  virtual void prepareToEncodeFrames() = 0;
  /// Calls `output` once at most. After `invalidate` the frame is dropped.
  virtual void encodeFrame(std::shared_ptr<const PixelBuffer> picture, PresentationTime presentationTime,
                           const EncodeFrameProperties& properties, OutputHandler output) = 0;
  /// Ends the session and releases its resources. May be called while a frame is being encoded and from an
  /// output handler, and does not wait for either: a frame under way may still come out.
  virtual void invalidate() = 0;
};

/// EncoderSessionFactory makes compression sessions, with the best encoder of this computer.
/// Thread-safe.
class EncoderSessionFactory {
 public:
  virtual ~EncoderSessionFactory() = default;
  virtual Result<std::shared_ptr<EncoderSession>> create(std::int32_t width, std::int32_t height,
                                                         VideoCodec codec) = 0;
  /// Which encoder its sessions use, for status and diagnosis: "libx264", "h264_vaapi"; empty when none
  /// works.
  virtual std::string encoderName() const = 0;
};

}  // namespace tevanto
