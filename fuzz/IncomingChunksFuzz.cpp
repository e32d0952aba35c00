#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "p2p/channels/IncomingChunks.h"

namespace {

using namespace tevanto;
using Bytes = std::vector<std::byte>;

/// What the chunks of one id since its last end say together: a document may only be made of these.
struct Expected {
  std::uint16_t count = 0;
  std::map<std::uint16_t, Bytes> slices;
};

Bytes joined(const Expected& expected) {
  Bytes document;
  for (const auto& [index, slice] : expected.slices)
    document.insert(document.end(), slice.begin(), slice.end());
  return document;
}

}  // namespace

/// Five bytes of input for each chunk: time passed, id, count and index, payload's size, its content. The
/// limits are small, so that a short input reaches them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const IncomingChunks::Limits limits{4, 1200, std::chrono::seconds(30)};
  IncomingChunks chunks(limits);
  std::map<std::uint32_t, Expected> sent;
  IncomingChunks::TimePoint now{std::chrono::hours(1)};
  for (auto rest = std::span(data, size); rest.size() >= 5; rest = rest.subspan(5)) {
    now += std::chrono::milliseconds(rest[0] * 50);
    const Bytes payload(rest[3] + 1u, static_cast<std::byte>(rest[4]));
    const auto count = static_cast<std::uint16_t>(rest[2] % 8 + 1);
    const MessageChunk chunk{rest[1] % 8u, static_cast<std::uint16_t>(rest[2] / 8 % count), count, payload};
    const auto before = chunks.pendingMessages();
    const auto document = chunks.add(chunk, now);
    if (chunks.pendingMessages() > limits.maxPendingMessages || chunks.pendingMessages() > before + 1)
      std::abort();
    if (chunks.pendingBytes() > limits.maxPendingBytes) std::abort();
    auto& expected = sent[chunk.messageID];
    if (expected.count != chunk.count) expected = {chunk.count, {}};
    expected.slices[chunk.index] = payload;
    if (!document) continue;
    // Older slices may have been dropped on the way; then the same places were filled again since.
    if (expected.slices.size() != expected.count || *document != joined(expected)) std::abort();
    sent.erase(chunk.messageID);
  }
  return 0;
}
