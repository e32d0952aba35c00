#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "p2p/channels/ControlFrames.h"

namespace tevanto {

/// IncomingChunks joins large control messages from their chunks. Rules and limits: docs/protocol.md,
/// section 10.3. A value; its owner serializes the calls.
class IncomingChunks {
 public:
  using TimePoint = SerialQueue::TimePoint;

  struct Limits {
    std::size_t maxPendingMessages = 64;
    /// Of all unfinished messages together, what it takes to keep track of their chunks included.
    std::size_t maxPendingBytes = 16 * 1024 * 1024;
    std::chrono::seconds lifetime{30};
  };
  /// The bytes that one kept chunk counts for, besides its payload.
  static constexpr std::size_t kBytesPerChunk = 64;

  IncomingChunks() : IncomingChunks(Limits()) {}
  explicit IncomingChunks(Limits limits) : limits_(limits) {}

  /// Takes one chunk; gives the whole document once its last missing chunk is there. A chunk that disagrees
  /// with the count of its message drops that message; so does one that makes it outgrow the limits alone.
  std::optional<std::vector<std::byte>> add(const MessageChunk& chunk, TimePoint now);
  /// Drops what is too old.
  void expire(TimePoint now);
  void clear() { partials_.clear(); }

  std::size_t pendingMessages() const { return partials_.size(); }
  std::size_t pendingBytes() const;

 private:
  /// Payloads lie in the order of their arrival; where that is the order of the document, as on an ordered
  /// channel, the document is there without another copy.
  struct Partial {
    struct Slice {
      std::size_t offset = 0;  // in `bytes`
      std::size_t size = 0;
    };

    std::uint16_t count = 0;
    TimePoint createdAt;
    std::map<std::uint16_t, Slice> slices;
    std::vector<std::byte> bytes;
    bool inOrder = true;

    std::size_t cost() const { return bytes.size() + slices.size() * kBytesPerChunk; }
    void store(const MessageChunk& chunk);
    std::vector<std::byte> join();
  };
  using Partials = std::map<std::uint32_t, Partial>;

  Partials::iterator begin(const MessageChunk& chunk, TimePoint now);
  /// Drops the oldest others until the chunk fits; false when it does not even fit alone.
  bool makeRoom(std::uint32_t messageID, std::size_t bytes);
  Partials::iterator oldestBut(std::optional<std::uint32_t> messageID);

  Limits limits_;
  Partials partials_;
};

}  // namespace tevanto
