#include "p2p/channels/IncomingChunks.h"

#include <algorithm>
#include <utility>

namespace tevanto {

std::optional<std::vector<std::byte>> IncomingChunks::add(const MessageChunk& chunk, TimePoint now) {
  expire(now);
  auto place = partials_.find(chunk.messageID);
  if (place == partials_.end()) place = begin(chunk, now);
  if (place->second.count != chunk.count ||
      !makeRoom(chunk.messageID, chunk.payload.size() + kBytesPerChunk)) {
    partials_.erase(place);
    return std::nullopt;
  }
  auto& partial = place->second;
  partial.store(chunk);
  if (partial.slices.size() < partial.count) return std::nullopt;
  auto document = partial.join();
  partials_.erase(place);
  return document;
}

void IncomingChunks::expire(TimePoint now) {
  if (partials_.empty()) return;
  std::erase_if(partials_,
                [&](const auto& entry) { return now - entry.second.createdAt >= limits_.lifetime; });
}

std::size_t IncomingChunks::pendingBytes() const {
  std::size_t sum = 0;
  for (const auto& [id, partial] : partials_) sum += partial.cost();
  return sum;
}

IncomingChunks::Partials::iterator IncomingChunks::begin(const MessageChunk& chunk, TimePoint now) {
  while (partials_.size() >= limits_.maxPendingMessages) partials_.erase(oldestBut(std::nullopt));
  return partials_.try_emplace(chunk.messageID, Partial{chunk.count, now, {}, {}, true}).first;
}

bool IncomingChunks::makeRoom(std::uint32_t messageID, std::size_t bytes) {
  while (pendingBytes() + bytes > limits_.maxPendingBytes) {
    const auto oldest = oldestBut(messageID);
    if (oldest == partials_.end()) return false;
    partials_.erase(oldest);
  }
  return true;
}

IncomingChunks::Partials::iterator IncomingChunks::oldestBut(std::optional<std::uint32_t> messageID) {
  auto oldest = partials_.end();
  for (auto entry = partials_.begin(); entry != partials_.end(); ++entry) {
    if (entry->first == messageID) continue;
    if (oldest == partials_.end() || entry->second.createdAt < oldest->second.createdAt) oldest = entry;
  }
  return oldest;
}

void IncomingChunks::Partial::store(const MessageChunk& chunk) {
  // A replaced payload stays where it is, and counts, until the document is done: honest senders repeat none.
  inOrder = inOrder && chunk.index == slices.size();
  slices[chunk.index] = {bytes.size(), chunk.payload.size()};
  bytes.insert(bytes.end(), chunk.payload.begin(), chunk.payload.end());
}

std::vector<std::byte> IncomingChunks::Partial::join() {
  if (inOrder) return std::move(bytes);
  std::vector<std::byte> document;
  document.reserve(bytes.size());
  for (const auto& [index, slice] : slices) {
    const auto from = std::span(bytes).subspan(slice.offset, slice.size);
    document.insert(document.end(), from.begin(), from.end());
  }
  return document;
}

}  // namespace tevanto
