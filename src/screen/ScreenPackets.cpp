#include "screen/ScreenPackets.h"

#include <algorithm>

#include "screen/BigEndian.h"

namespace tevanto {
namespace {

constexpr std::uint64_t kMaxKeyframeBytes = 3'145'728;
constexpr std::uint64_t kMaxBufferedBeforeKeyframe = 65'536;
constexpr std::uint64_t kDeltaFrameBudget = 524'288;

}  // namespace

ScreenPacketList packets(std::span<const std::byte> message, std::uint32_t packetID) {
  ScreenPacketList list;
  if (message.empty() || message.size() > kMaxScreenMessageBytes) return list;
  const auto count = (message.size() + kScreenPacketPayloadBytes - 1) / kScreenPacketPayloadBytes;
  auto& bytes = list.bytes_;
  bytes.reserve(message.size() + count * kScreenPacketHeaderBytes);
  const auto append = [&bytes](std::span<const std::byte> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
  };
  for (std::size_t index = 0; index < count; ++index) {
    append(bigEndian(packetID));
    append(bigEndian(static_cast<std::uint16_t>(index)));
    append(bigEndian(static_cast<std::uint16_t>(count)));
    append(message.first(std::min(message.size(), kScreenPacketPayloadBytes)));
    message = message.subspan(std::min(message.size(), kScreenPacketPayloadBytes));
  }
  return list;
}

std::optional<ScreenPacket> parse(std::span<const std::byte> packet) {
  if (packet.size() <= kScreenPacketHeaderBytes) return std::nullopt;
  const ScreenPacket parsed{
      readBigEndian<std::uint32_t>(packet), readBigEndian<std::uint16_t>(packet.subspan(4)),
      readBigEndian<std::uint16_t>(packet.subspan(6)), packet.subspan(kScreenPacketHeaderBytes)};
  if (parsed.count == 0 || parsed.count > kMaxScreenPackets || parsed.index >= parsed.count) {
    return std::nullopt;
  }
  return parsed;
}

bool shouldDrop(std::uint64_t bufferedAmount, std::uint64_t messageSize, bool isKeyframe) {
  if (isKeyframe) return messageSize > kMaxKeyframeBytes || bufferedAmount > kMaxBufferedBeforeKeyframe;
  // Written so that no sum can overflow.
  return messageSize > kDeltaFrameBudget || bufferedAmount > kDeltaFrameBudget - messageSize;
}

}  // namespace tevanto
