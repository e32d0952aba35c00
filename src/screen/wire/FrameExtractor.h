#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include "net/tcp/TcpConnection.h"

namespace tevanto {

/// FrameExtractor cuts the byte stream of a screen connection into frames. Layout: docs/protocol.md, section
/// 8. It does no I/O, and keeps at most one unfinished frame.
class FrameExtractor {
 public:
  static constexpr std::size_t kHeaderBytes = 4;
  static constexpr std::size_t kMaxFrameBytes = 8 * 1024 * 1024;

  /// Outcome tells how the extraction ended.
  enum class Outcome { wantsMore, oversized, stopped };
  /// Takes one payload, valid during the call only; false: stop, and drop the rest.
  using FrameHandler = std::function<bool(std::span<const std::byte> payload)>;

  /// Takes what was received and hands on each frame that it completes. After an oversized length, and after
  /// the handler stopped it, nothing is kept.
  Outcome feed(std::span<const std::byte> bytes, const FrameHandler& onFrame);

  /// Memory behind what is there of an unfinished frame, for at most `maxBytes` more of it, so that they need
  /// not be copied there. Empty when too little is missing for that to pay. Good until the next call.
  ReceiveRoom room(std::size_t maxBytes);
  /// Takes `count` bytes that were received into the room given last.
  Outcome feedFromRoom(std::size_t count, const FrameHandler& onFrame);

  std::size_t bufferedBytes() const { return filled_; }

 private:
  std::size_t missingBytes() const;
  void reserve(std::size_t bytes);
  void append(std::span<const std::byte> bytes);
  Outcome finishFrame(const FrameHandler& onFrame);

  // The beginning of a frame that is not complete yet; the memory is kept for the next one.
  std::shared_ptr<std::byte[]> memory_;
  std::size_t capacity_ = 0;
  std::size_t filled_ = 0;
};

}  // namespace tevanto
