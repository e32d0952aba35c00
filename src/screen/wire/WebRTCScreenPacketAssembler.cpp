#include "screen/wire/WebRTCScreenPacketAssembler.h"

#include <algorithm>
#include <utility>

namespace tevanto {

std::optional<AssembledScreenMessage> WebRTCScreenPacketAssembler::ingest(std::span<const std::byte> packet,
                                                                          TimePoint now) {
  const auto parsed = parse(packet);
  if (!parsed) return std::nullopt;
  expire(now);

  auto place = partials_.find(parsed->packetID);
  if (place == partials_.end()) {
    const auto room = reservation(*parsed);
    place = partials_.try_emplace(parsed->packetID, parsed->count, now).first;
    place->second.reserve(room);
  }
  auto& partial = place->second;
  if (partial.count() != parsed->count || partial.byteCountWith(*parsed) > limits_.maxPacketBytes) {
    partials_.erase(place);
    return std::nullopt;
  }
  partial.store(*parsed);
  if (partial.isComplete()) {
    AssembledScreenMessage message{parsed->packetID, partial.join()};
    partials_.erase(place);
    return message;
  }
  enforceLimits();
  return std::nullopt;
}

std::size_t WebRTCScreenPacketAssembler::pendingBytes() const {
  std::size_t sum = 0;
  for (const auto& [id, partial] : partials_) sum += partial.byteCount();
  return sum;
}

void WebRTCScreenPacketAssembler::expire(TimePoint now) {
  std::erase_if(partials_,
                [&](const auto& entry) { return now - entry.second.createdAt() >= limits_.partialLifetime; });
}

void WebRTCScreenPacketAssembler::enforceLimits() {
  while (partials_.size() > limits_.maxPendingPackets) partials_.erase(partials_.begin());
  while (pendingBytes() > limits_.maxPendingBytes) {
    partials_.erase(std::min_element(partials_.begin(), partials_.end(), [](const auto& a, const auto& b) {
      return a.second.createdAt() < b.second.createdAt();
    }));
  }
}

// Room for the whole message, as far as its first chunk tells its size: the last chunk alone may be shorter.
// A peer that only announces cannot make the reservations together exceed what may be held.
std::size_t WebRTCScreenPacketAssembler::reservation(const ScreenPacket& first) const {
  std::size_t reserved = 0;
  for (const auto& [id, partial] : partials_) reserved += partial.capacity();
  const auto expected = std::min(first.count * first.payload.size(), limits_.maxPacketBytes);
  return reserved + expected <= limits_.maxPendingBytes ? expected : 0;
}

std::size_t WebRTCScreenPacketAssembler::Partial::byteCountWith(const ScreenPacket& packet) const {
  // A repeated chunk of an honest sender has the size of the first one. Counting any other as what it really
  // holds keeps the limits true for every sender.
  return bytes_.size() - chunks_[packet.index].size + packet.payload.size();
}

void WebRTCScreenPacketAssembler::Partial::store(const ScreenPacket& packet) {
  auto& chunk = chunks_[packet.index];
  if (chunk.size == packet.payload.size()) {
    std::copy(packet.payload.begin(), packet.payload.end(), bytes_.begin() + chunk.offset);
    return;
  }
  if (chunk.size > 0) remove(chunk);
  inOrder_ = inOrder_ && packet.index == held_;
  append(chunk, packet.payload);
}

void WebRTCScreenPacketAssembler::Partial::append(Chunk& chunk, std::span<const std::byte> payload) {
  chunk = {static_cast<std::uint32_t>(bytes_.size()), static_cast<std::uint32_t>(payload.size())};
  bytes_.insert(bytes_.end(), payload.begin(), payload.end());
  ++held_;
}

void WebRTCScreenPacketAssembler::Partial::remove(Chunk& chunk) {
  const auto begin = bytes_.begin() + chunk.offset;
  bytes_.erase(begin, begin + chunk.size);
  for (auto& other : chunks_) {
    if (other.offset > chunk.offset) other.offset -= chunk.size;
  }
  chunk = {};
  --held_;
  inOrder_ = false;
}

std::vector<std::byte> WebRTCScreenPacketAssembler::Partial::join() {
  if (inOrder_) return std::move(bytes_);
  std::vector<std::byte> message;
  message.reserve(bytes_.size());
  for (const auto& chunk : chunks_) {
    const auto begin = bytes_.begin() + chunk.offset;
    message.insert(message.end(), begin, begin + chunk.size);
  }
  return message;
}

}  // namespace tevanto
