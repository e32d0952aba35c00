#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace tevanto {

/// ScreenPacket is one packet of a screen message on a data channel, whose own messages are kept small.
/// Layout: docs/protocol.md, section 10.4.
struct ScreenPacket {
  std::uint32_t packetID = 0;
  std::uint16_t index = 0;
  std::uint16_t count = 0;
  std::span<const std::byte> payload;
};

inline constexpr std::size_t kScreenPacketHeaderBytes = 8;
inline constexpr std::size_t kScreenPacketPayloadBytes = 4000;
inline constexpr std::size_t kMaxScreenPackets = 800;
inline constexpr std::size_t kMaxScreenMessageBytes = kMaxScreenPackets * kScreenPacketPayloadBytes;

/// Cuts `message` and calls `visit` with one packet after the other, each valid during its call only, until
/// one call returns false. Returns true when all were taken. Returns false too when there are none, because
/// the message is empty or longer than `kMaxScreenMessageBytes`. For sending: a packet at a time stays in
/// the nearest cache.
bool forEachPacket(std::span<const std::byte> message, std::uint32_t packetID,
                   const std::function<bool(std::span<const std::byte> packet)>& visit);

/// Reads one packet, with a view into it; absent when it is invalid.
std::optional<ScreenPacket> parse(std::span<const std::byte> packet);

/// True when a video frame is refused rather than queued behind `bufferedAmount` bytes of the channel. Key
/// frames may be large but want a nearly drained channel, on purpose; other frames share half a megabyte.
bool shouldDrop(std::uint64_t bufferedAmount, std::uint64_t messageSize, bool isKeyframe);

}  // namespace tevanto
