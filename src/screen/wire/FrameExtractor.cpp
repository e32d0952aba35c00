#include "screen/wire/FrameExtractor.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <utility>

#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

/// Less than this comes with the beginning of the next frame in one receive, and is quickly copied.
constexpr std::size_t kLeastRoom = 32 * 1024;

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

FrameExtractor::Outcome FrameExtractor::feed(std::span<const std::byte> bytes, const FrameHandler& onFrame) {
  while (filled_ > 0) {  // its header first, then the rest of it
    const auto part = bytes.first(std::min(bytes.size(), missingBytes()));
    append(part);
    bytes = bytes.subspan(part.size());
    const auto outcome = finishFrame(onFrame);
    if (outcome != Outcome::wantsMore || bytes.empty()) return outcome;
  }
  // The usual frame lies whole in what was just received, and is handed on from there.
  const auto cut = cutFrames(bytes, onFrame);
  append(cut.rest);
  return cut.outcome;
}

ReceiveRoom FrameExtractor::room(std::size_t maxBytes) {
  const auto missing = missingBytes();
  if (filled_ < kHeaderBytes || missing < kLeastRoom) return {};
  const auto count = std::min(maxBytes, missing);
  reserve(filled_ + count);
  return {std::span(memory_.get() + filled_, count), memory_};
}

FrameExtractor::Outcome FrameExtractor::feedFromRoom(std::size_t count, const FrameHandler& onFrame) {
  assert(filled_ + count <= capacity_ && "more than there was room for");
  filled_ += count;
  return finishFrame(onFrame);
}

/// Of the header, once that is there of the frame.
std::size_t FrameExtractor::missingBytes() const {
  if (filled_ < kHeaderBytes) return kHeaderBytes - filled_;
  return kHeaderBytes + readBigEndian<std::uint32_t>(std::span(memory_.get(), filled_)) - filled_;
}

// Doubles, rather than trust the length that a peer announces.
void FrameExtractor::reserve(std::size_t bytes) {
  if (bytes <= capacity_) return;
  const auto capacity = std::max(bytes, std::min(2 * capacity_, kHeaderBytes + kMaxFrameBytes));
  // Not make_shared, which would write zeros over all of it first.
  std::shared_ptr<std::byte[]> memory(new std::byte[capacity]);
  if (filled_ > 0) std::memcpy(memory.get(), memory_.get(), filled_);
  memory_ = std::move(memory);
  capacity_ = capacity;
}

void FrameExtractor::append(std::span<const std::byte> bytes) {
  reserve(filled_ + bytes.size());
  if (!bytes.empty()) std::memcpy(memory_.get() + filled_, bytes.data(), bytes.size());
  filled_ += bytes.size();
}

FrameExtractor::Outcome FrameExtractor::finishFrame(const FrameHandler& onFrame) {
  if (filled_ < kHeaderBytes) return Outcome::wantsMore;
  const std::size_t length = readBigEndian<std::uint32_t>(std::span(memory_.get(), filled_));
  if (length > kMaxFrameBytes) {
    filled_ = 0;
    return Outcome::oversized;
  }
  if (filled_ < kHeaderBytes + length) return Outcome::wantsMore;
  filled_ = 0;
  return onFrame(std::span(memory_.get() + kHeaderBytes, length)) ? Outcome::wantsMore : Outcome::stopped;
}

}  // namespace tevanto
