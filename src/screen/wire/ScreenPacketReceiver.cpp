#include "screen/wire/ScreenPacketReceiver.h"

#include <utility>

#include "screen/wire/ScreenStreamMessage.h"

namespace tevanto {

std::optional<std::vector<std::byte>> ScreenPacketReceiver::add(std::span<const std::byte> packet,
                                                                WebRTCScreenPacketAssembler::TimePoint now) {
  auto message = assembler_.ingest(packet, now);
  if (!message) return std::nullopt;
  if (screenMessageType(message->bytes) == ScreenMessageType::videoFrame) {
    if (latestDeliveredScreenFrameID_ && *latestDeliveredScreenFrameID_ >= message->packetID)
      return std::nullopt;
    latestDeliveredScreenFrameID_ = message->packetID;
  }
  return std::move(message->bytes);
}

void ScreenPacketReceiver::reset() {
  assembler_.reset();
  latestDeliveredScreenFrameID_.reset();
}

}  // namespace tevanto
