#pragma once

#include <chrono>
#include <cstddef>
#include <span>

#include "core/Result.h"

namespace tevanto::phone {

/// ReceivedFrame is a frame of the stream, as it is recorded.
struct ReceivedFrame {
  bool isKeyframe = false;
  int width = 0;  // of the last picture; 0 before the first
  int height = 0;
  std::span<const std::byte> sps;  // that the frame is decoded with
  std::span<const std::byte> pps;
  std::span<const std::byte> data;        // NAL units behind their lengths, as they came
  std::span<const std::byte> byteStream;  // the same in Annex B form; key frames with their parameter sets
  std::chrono::steady_clock::time_point time;  // of its arrival
};

/// StreamRecorder writes the stream into a file, as it came. The first frame is a key frame. A recorder that
/// is destroyed without `finish` leaves a file that may not be playable.
class StreamRecorder {
 public:
  virtual ~StreamRecorder() = default;
  virtual Result<void> write(const ReceivedFrame& frame) = 0;
  /// The last picture was shown until `end`.
  virtual Result<void> finish(std::chrono::steady_clock::time_point end) = 0;
};

}  // namespace tevanto::phone
