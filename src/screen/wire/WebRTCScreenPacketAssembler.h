#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "screen/wire/ScreenPackets.h"

namespace tevanto {

/// AssembledScreenMessage is one whole screen message.
struct AssembledScreenMessage {
  std::uint32_t packetID = 0;
  std::vector<std::byte> bytes;
};

/// WebRTCScreenPacketAssembler puts screen messages back together from their packets, in whatever order those
/// come. Unfinished messages are bounded in number, bytes and time. Layout: docs/protocol.md, section 10.4.
/// A value; its owner keeps it on one queue.
class WebRTCScreenPacketAssembler {
 public:
  using TimePoint = SerialQueue::TimePoint;

  /// Limits bounds the unfinished messages.
  struct Limits {
    std::size_t maxPendingPackets = 8;        // unfinished messages
    std::size_t maxPacketBytes = 3'145'728;   // of one message
    std::size_t maxPendingBytes = 8'388'608;  // of all unfinished ones together
    std::chrono::duration<double> partialLifetime{2.0};
  };

  WebRTCScreenPacketAssembler() : WebRTCScreenPacketAssembler(Limits()) {}
  explicit WebRTCScreenPacketAssembler(Limits limits) : limits_(limits) {}

  /// Takes one packet of the channel; gives the whole message once its last missing chunk is there. Invalid
  /// packets are dropped; a chunk that disagrees with the count of its message, or makes it outgrow the
  /// limit, drops the message.
  std::optional<AssembledScreenMessage> ingest(std::span<const std::byte> packet, TimePoint now);
  /// Forgets everything unfinished.
  void reset() { partials_.clear(); }

  std::size_t pendingPackets() const { return partials_.size(); }
  std::size_t pendingBytes() const;

 private:
  /// An unfinished message. Its payloads lie in the order of their arrival; when that was the order of the
  /// message, as on an ordered channel, the message is there without another copy.
  class Partial {
   public:
    Partial(std::uint16_t count, TimePoint createdAt) : createdAt_(createdAt), chunks_(count) {}

    std::uint16_t count() const { return static_cast<std::uint16_t>(chunks_.size()); }
    std::size_t byteCount() const { return bytes_.size(); }
    std::size_t capacity() const { return bytes_.capacity(); }
    TimePoint createdAt() const { return createdAt_; }
    bool isComplete() const { return held_ == chunks_.size(); }
    /// The bytes that it would hold with this chunk, a stored one of the same index replaced.
    std::size_t byteCountWith(const ScreenPacket& packet) const;
    void reserve(std::size_t bytes) { bytes_.reserve(bytes); }
    void store(const ScreenPacket& packet);
    /// The whole message; leaves nothing.
    std::vector<std::byte> join();

   private:
    struct Chunk {
      std::uint32_t offset = 0;  // in `bytes_`
      std::uint32_t size = 0;    // 0: not held
    };

    void remove(Chunk& chunk);
    void append(Chunk& chunk, std::span<const std::byte> payload);

    TimePoint createdAt_;
    std::vector<Chunk> chunks_;
    std::vector<std::byte> bytes_;
    std::size_t held_ = 0;
    bool inOrder_ = true;
  };
  using Partials = std::map<std::uint32_t, Partial>;

  void expire(TimePoint now);
  void enforceLimits();
  std::size_t reservation(const ScreenPacket& first) const;

  Limits limits_;
  Partials partials_;
};

}  // namespace tevanto
