#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace tevanto {

/// Cuts a byte stream into frames, each a length and then as many bytes of payload:
///
///     0  4 bytes       length of the payload, big-endian; 0 is a valid, empty frame
///     4  length bytes  payload
///
/// Does no I/O; keeps at most one unfinished frame.
class FrameExtractor {
 public:
  static constexpr std::size_t kHeaderBytes = 4;
  static constexpr std::size_t kMaxFrameBytes = 8 * 1024 * 1024;

  enum class Outcome { wantsMore, oversized, stopped };
  /// Takes one payload, valid during the call only; false: stop, and drop the rest.
  using FrameHandler = std::function<bool(std::span<const std::byte> payload)>;

  /// Takes what was received and hands on each frame that it completes. After an oversized length, and after
  /// the handler stopped it, nothing is kept.
  Outcome take(std::span<const std::byte> bytes, const FrameHandler& onFrame);

  std::size_t bufferedBytes() const { return buffer_.size(); }

 private:
  std::vector<std::byte> buffer_;  // the beginning of a frame that is not complete yet
};

}  // namespace tevanto
