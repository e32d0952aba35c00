#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace tevanto {

/// ControlFrame is one frame of the control or motion channel, classified by its first byte. A message that
/// fits carries no framing at all. Layout: docs/protocol.md, section 10.2.
struct ControlFrame {
  enum class Kind { message, chunk, screenPayload, unknown, empty };

  Kind kind = Kind::empty;
  /// Without the tag; of a chunk and of an unknown frame the whole frame.
  std::span<const std::byte> body;
};

ControlFrame classifyControlFrame(std::span<const std::byte> frame);

/// The frame that carries a screen message.
std::vector<std::byte> screenPayloadFrame(std::span<const std::byte> message);

/// MessageChunk is a slice of a message that is too large for one frame. Layout: docs/protocol.md,
/// section 10.3.
struct MessageChunk {
  std::uint32_t messageID = 0;
  std::uint16_t index = 0;
  std::uint16_t count = 0;
  std::span<const std::byte> payload;
};

inline constexpr std::size_t kMessageChunkHeaderBytes = 9;
/// The largest document that is sent whole, the slice of each chunk, and the largest screen payload.
inline constexpr std::size_t kMessageChunkPayloadBytes = 60'000;

/// Absent when the frame is too short, its count is 0 or its index is not below the count.
std::optional<MessageChunk> parseMessageChunk(std::span<const std::byte> frame);

/// How many chunks carry a document of that size; absent for none and for more than 65,535 of them.
std::optional<std::uint16_t> messageChunkCount(std::size_t documentBytes);

/// Cuts `document` and calls `visit` with one chunk frame after the other, in index order, each valid during
/// its call only, until one call returns false. Returns whether all were taken; false when there are none.
bool forEachMessageChunk(std::span<const std::byte> document, std::uint32_t messageID,
                         const std::function<bool(std::span<const std::byte> frame)>& visit);

}  // namespace tevanto
