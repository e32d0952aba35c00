#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "core/SerialQueue.h"
#include "screen/ScreenPackets.h"

namespace tevanto {

struct AssembledScreenMessage {
  std::uint32_t packetID = 0;
  std::vector<std::byte> bytes;
};

/// Puts screen messages back together from their packets, in whatever order those come, within bounds on what
/// unfinished messages may hold. A value; its owner keeps it on one queue.
class WebRTCScreenPacketAssembler {
 public:
  using TimePoint = SerialQueue::TimePoint;

  struct Limits {
    std::size_t maxPendingPackets = 8;        // unfinished messages
    std::size_t maxPacketBytes = 3'145'728;   // of one message
    std::size_t maxPendingBytes = 8'388'608;  // of all unfinished ones together
    std::chrono::duration<double> partialLifetime{2.0};
  };

  WebRTCScreenPacketAssembler() : WebRTCScreenPacketAssembler(Limits()) {}
  explicit WebRTCScreenPacketAssembler(Limits limits) : limits_(limits) {}

  /// Takes one packet of the channel; gives the whole message once its last missing chunk is there. Invalid
  /// packets, chunks that disagree with the count of their message, and messages that outgrow the limit are
  /// dropped.
  std::optional<AssembledScreenMessage> ingest(std::span<const std::byte> packet, TimePoint now);
  /// Forgets everything unfinished.
  void reset() { partials_.clear(); }

  std::size_t pendingPackets() const { return partials_.size(); }
  std::size_t pendingBytes() const;

 private:
  struct Partial {
    std::uint16_t count = 0;
    std::map<std::uint16_t, std::vector<std::byte>> chunks;
    std::size_t byteCount = 0;
    TimePoint createdAt;
  };
  using Partials = std::map<std::uint32_t, Partial>;

  void expire(TimePoint now);
  void enforceLimits();
  /// False when the partial would outgrow the limit.
  bool store(Partial& partial, const ScreenPacket& packet) const;
  static std::vector<std::byte> join(const Partial& partial);

  Limits limits_;
  Partials partials_;
};

}  // namespace tevanto
