#include "screen/FrameExtractor.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "screen/BigEndian.h"

namespace tevanto {
namespace {

struct Cut {
  FrameExtractor::Outcome outcome;
  std::span<const std::byte> rest;
};

Cut cutFrames(std::span<const std::byte> bytes, const FrameExtractor::FrameHandler& onFrame) {
  using Outcome = FrameExtractor::Outcome;
  while (bytes.size() >= FrameExtractor::kHeaderBytes) {
    const std::size_t length = readBigEndian<std::uint32_t>(bytes);
    if (length > FrameExtractor::kMaxFrameBytes) return {Outcome::oversized, {}};
    if (bytes.size() - FrameExtractor::kHeaderBytes < length) break;
    const auto payload = bytes.subspan(FrameExtractor::kHeaderBytes, length);
    bytes = bytes.subspan(FrameExtractor::kHeaderBytes + length);
    if (!onFrame(payload)) return {Outcome::stopped, {}};
  }
  return {Outcome::wantsMore, bytes};
}

}  // namespace

FrameExtractor::Outcome FrameExtractor::take(std::span<const std::byte> bytes, const FrameHandler& onFrame) {
  // The usual frame lies whole in what was just received, and is handed on from there.
  if (buffer_.empty()) {
    const auto cut = cutFrames(bytes, onFrame);
    buffer_.assign(cut.rest.begin(), cut.rest.end());
    return cut.outcome;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  // The handler may destroy this object's owner, though not this object: the bytes that it reads stay here.
  const auto cut = cutFrames(buffer_, onFrame);
  if (cut.rest.empty()) {
    buffer_.clear();
  } else {
    buffer_.erase(buffer_.begin(), buffer_.end() - static_cast<std::ptrdiff_t>(cut.rest.size()));
  }
  return cut.outcome;
}

}  // namespace tevanto
