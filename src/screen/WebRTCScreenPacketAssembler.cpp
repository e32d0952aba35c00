#include "screen/WebRTCScreenPacketAssembler.h"

#include <algorithm>

namespace tevanto {

std::optional<AssembledScreenMessage> WebRTCScreenPacketAssembler::ingest(std::span<const std::byte> packet,
                                                                          TimePoint now) {
  const auto parsed = parse(packet);
  if (!parsed) return std::nullopt;
  expire(now);

  const auto [place, isNew] = partials_.try_emplace(parsed->packetID);
  auto& partial = place->second;
  if (isNew) {
    partial.count = parsed->count;
    partial.createdAt = now;
  } else if (partial.count != parsed->count) {
    return std::nullopt;
  }
  if (!store(partial, *parsed)) {
    partials_.erase(place);
    return std::nullopt;
  }
  if (partial.chunks.size() == partial.count) {
    AssembledScreenMessage message{parsed->packetID, join(partial)};
    partials_.erase(place);
    return message;
  }
  enforceLimits();
  return std::nullopt;
}

std::size_t WebRTCScreenPacketAssembler::pendingBytes() const {
  std::size_t sum = 0;
  for (const auto& [id, partial] : partials_) sum += partial.byteCount;
  return sum;
}

void WebRTCScreenPacketAssembler::expire(TimePoint now) {
  std::erase_if(partials_,
                [&](const auto& entry) { return now - entry.second.createdAt >= limits_.partialLifetime; });
}

bool WebRTCScreenPacketAssembler::store(Partial& partial, const ScreenPacket& packet) const {
  auto& chunk = partial.chunks[packet.index];
  // A repeated chunk of an honest sender has the size of the first one. Counting a different one as what it
  // really holds keeps the limits true for every other sender too.
  const auto byteCount = partial.byteCount - chunk.size() + packet.payload.size();
  if (byteCount > limits_.maxPacketBytes) return false;
  partial.byteCount = byteCount;
  chunk = std::vector<std::byte>(packet.payload.begin(), packet.payload.end());
  return true;
}

void WebRTCScreenPacketAssembler::enforceLimits() {
  while (partials_.size() > limits_.maxPendingPackets) partials_.erase(partials_.begin());
  while (pendingBytes() > limits_.maxPendingBytes) {
    partials_.erase(std::min_element(partials_.begin(), partials_.end(), [](const auto& a, const auto& b) {
      return a.second.createdAt < b.second.createdAt;
    }));
  }
}

std::vector<std::byte> WebRTCScreenPacketAssembler::join(const Partial& partial) {
  std::vector<std::byte> message;
  message.reserve(partial.byteCount);
  for (const auto& [index, chunk] : partial.chunks) message.insert(message.end(), chunk.begin(), chunk.end());
  return message;
}

}  // namespace tevanto
