#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "screen/wire/FrameExtractor.h"

namespace {

using tevanto::FrameExtractor;
using Bytes = std::vector<std::byte>;

struct Cut {
  std::vector<Bytes> frames;
  bool oversized = false;
};

/// The frames of a whole stream, looked at in one piece.
Cut model(std::span<const std::byte> stream) {
  Cut cut;
  while (stream.size() >= 4) {
    const std::size_t length =
        std::to_integer<std::size_t>(stream[0]) << 24 | std::to_integer<std::size_t>(stream[1]) << 16 |
        std::to_integer<std::size_t>(stream[2]) << 8 | std::to_integer<std::size_t>(stream[3]);
    cut.oversized = length > 8 * 1024 * 1024;
    if (cut.oversized || stream.size() - 4 < length) break;
    cut.frames.emplace_back(stream.begin() + 4, stream.begin() + 4 + static_cast<std::ptrdiff_t>(length));
    stream = stream.subspan(4 + length);
  }
  return cut;
}

}  // namespace

/// Takes one read, into the extractor's room where it offers one.
FrameExtractor::Outcome receive(FrameExtractor& extractor, std::span<const std::byte> part, Cut& cut) {
  const auto keep = [&](std::span<const std::byte> payload) {
    cut.frames.emplace_back(payload.begin(), payload.end());
    return true;
  };
  const auto room = extractor.room(part.size());
  if (room.bytes.size() != part.size()) return extractor.feed(part, keep);
  std::ranges::copy(part, room.bytes.begin());
  return extractor.feedFromRoom(part.size(), keep);
}

/// The first byte is the size of the reads; however the stream is split, the same frames come out of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t step = data[0] + 1;
  const auto stream = std::as_bytes(std::span(data + 1, size - 1));
  FrameExtractor extractor;
  Cut cut;
  for (std::size_t at = 0; at < stream.size() && !cut.oversized; at += step) {
    const auto outcome = receive(extractor, stream.subspan(at, std::min(step, stream.size() - at)), cut);
    cut.oversized = outcome == FrameExtractor::Outcome::oversized;
    if (extractor.bufferedBytes() > stream.size()) std::abort();
    if (cut.oversized && extractor.bufferedBytes() != 0) std::abort();
  }
  const auto expected = model(stream);
  if (cut.frames != expected.frames || cut.oversized != expected.oversized) std::abort();
  return 0;
}
