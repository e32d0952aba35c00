#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "screen/wire/BigEndian.h"
#include "screen/wire/WebRTCScreenPacketAssembler.h"

namespace {

using namespace tevanto;
using Bytes = std::vector<std::byte>;
using Limits = WebRTCScreenPacketAssembler::Limits;
using TimePoint = WebRTCScreenPacketAssembler::TimePoint;

/// The same rules with nothing in mind but to be plain.
class Model {
 public:
  explicit Model(const Limits& limits) : limits_(limits) {}

  std::optional<AssembledScreenMessage> ingest(const ScreenPacket& packet, TimePoint now) {
    for (auto entry = partials_.begin(); entry != partials_.end();) {
      const bool old = now - entry->second.createdAt >= limits_.partialLifetime;
      entry = old ? partials_.erase(entry) : std::next(entry);
    }
    auto& partial = partials_.try_emplace(packet.packetID, Partial{packet.count, now, {}}).first->second;
    const bool agrees = partial.count == packet.count;
    partial.chunks[packet.index] = Bytes(packet.payload.begin(), packet.payload.end());
    const auto whole = partial.bytes();
    if (!agrees || whole.size() > limits_.maxPacketBytes) {
      partials_.erase(packet.packetID);
      return std::nullopt;
    }
    if (partial.chunks.size() == partial.count) {
      partials_.erase(packet.packetID);
      return AssembledScreenMessage{packet.packetID, whole};
    }
    while (partials_.size() > limits_.maxPendingPackets) partials_.erase(partials_.begin());
    while (pendingBytes() > limits_.maxPendingBytes) eraseEarliest();
    return std::nullopt;
  }

  std::size_t pendingPackets() const { return partials_.size(); }
  std::size_t pendingBytes() const {
    std::size_t sum = 0;
    for (const auto& [id, partial] : partials_) sum += partial.bytes().size();
    return sum;
  }

 private:
  struct Partial {
    std::uint16_t count;
    TimePoint createdAt;
    std::map<std::uint16_t, Bytes> chunks;

    Bytes bytes() const {
      Bytes joined;
      for (const auto& [index, chunk] : chunks) joined.insert(joined.end(), chunk.begin(), chunk.end());
      return joined;
    }
  };

  void eraseEarliest() {
    auto earliest = partials_.begin();
    for (auto entry = partials_.begin(); entry != partials_.end(); ++entry) {
      if (entry->second.createdAt < earliest->second.createdAt) earliest = entry;
    }
    partials_.erase(earliest);
  }

  const Limits limits_;
  std::map<std::uint32_t, Partial> partials_;
};

/// One packet for every five bytes of input: time passed, id, count and index, size of the payload.
Bytes packetFrom(std::span<const std::uint8_t> step) {
  Bytes packet;
  const auto append = [&](auto bytes) { packet.insert(packet.end(), bytes.begin(), bytes.end()); };
  append(bigEndian(static_cast<std::uint32_t>(step[1] % 16)));
  append(bigEndian(static_cast<std::uint16_t>(step[2] % 8)));
  append(bigEndian(static_cast<std::uint16_t>(step[2] / 8 % 8)));
  for (std::size_t i = 0; i < step[3]; ++i) packet.push_back(static_cast<std::byte>(step[4] + i));
  return packet;
}

}  // namespace

/// Small limits, so that a short input reaches all of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Limits limits{4, 300, 500, std::chrono::duration<double>(2.0)};
  WebRTCScreenPacketAssembler assembler(limits);
  Model model(limits);
  TimePoint now{std::chrono::hours(1)};
  for (auto rest = std::span(data, size); rest.size() >= 5; rest = rest.subspan(5)) {
    now += std::chrono::milliseconds(rest[0] * 4);
    const auto packet = packetFrom(rest);
    const auto parsed = parse(packet);
    const auto whole = assembler.ingest(packet, now);
    const auto expected = parsed ? model.ingest(*parsed, now) : std::nullopt;
    if (whole.has_value() != expected.has_value()) std::abort();
    if (whole && (whole->packetID != expected->packetID || whole->bytes != expected->bytes)) std::abort();
    if (whole && whole->bytes.size() > limits.maxPacketBytes) std::abort();
    if (assembler.pendingPackets() != model.pendingPackets()) std::abort();
    if (assembler.pendingBytes() != model.pendingBytes()) std::abort();
    if (assembler.pendingPackets() > limits.maxPendingPackets) std::abort();
    if (assembler.pendingBytes() > limits.maxPendingBytes) std::abort();
  }
  return 0;
}
