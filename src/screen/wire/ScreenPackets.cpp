#include "screen/wire/ScreenPackets.h"

#include <algorithm>
#include <array>

#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

constexpr std::uint64_t kMaxKeyframeBytes = 3'145'728;
constexpr std::uint64_t kMaxBufferedBeforeKeyframe = 65'536;
constexpr std::uint64_t kDeltaFrameBudget = 524'288;

}  // namespace

bool forEachPacket(std::span<const std::byte> message, std::uint32_t packetID,
                   const std::function<bool(std::span<const std::byte>)>& visit) {
  if (message.empty() || message.size() > kMaxScreenMessageBytes) return false;
  const auto count = (message.size() + kScreenPacketPayloadBytes - 1) / kScreenPacketPayloadBytes;
  std::array<std::byte, kScreenPacketHeaderBytes + kScreenPacketPayloadBytes> packet;
  writeBigEndian(packetID, packet.begin());
  writeBigEndian(static_cast<std::uint16_t>(count), packet.begin() + 6);
  for (std::size_t index = 0; index < count; ++index) {
    const auto rest = message.subspan(index * kScreenPacketPayloadBytes);
    const auto payload = rest.first(std::min(rest.size(), kScreenPacketPayloadBytes));
    writeBigEndian(static_cast<std::uint16_t>(index), packet.begin() + 4);
    std::copy(payload.begin(), payload.end(), packet.begin() + kScreenPacketHeaderBytes);
    if (!visit(std::span(packet).first(kScreenPacketHeaderBytes + payload.size()))) return false;
  }
  return true;
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
