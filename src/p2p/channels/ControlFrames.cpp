#include "p2p/channels/ControlFrames.h"

#include <algorithm>
#include <limits>

#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

constexpr std::byte kMessageTag{0x00};
constexpr std::byte kChunkTag{0x01};
constexpr std::byte kScreenTag{0x02};

}  // namespace

ControlFrame classifyControlFrame(std::span<const std::byte> frame) {
  if (frame.empty()) return {};
  const auto first = frame.front();
  if (first == std::byte{'{'} || first == std::byte{'['}) return {ControlFrame::Kind::message, frame};
  if (first == kMessageTag) return {ControlFrame::Kind::message, frame.subspan(1)};
  if (first == kChunkTag) return {ControlFrame::Kind::chunk, frame};
  if (first == kScreenTag) return {ControlFrame::Kind::screenPayload, frame.subspan(1)};
  return {ControlFrame::Kind::unknown, frame};
}

std::vector<std::byte> screenPayloadFrame(std::span<const std::byte> message) {
  std::vector<std::byte> frame;
  frame.reserve(message.size() + 1);
  frame.push_back(kScreenTag);
  frame.insert(frame.end(), message.begin(), message.end());
  return frame;
}

std::optional<MessageChunk> parseMessageChunk(std::span<const std::byte> frame) {
  if (frame.size() <= kMessageChunkHeaderBytes || frame.front() != kChunkTag) return std::nullopt;
  const MessageChunk chunk{
      readBigEndian<std::uint32_t>(frame.subspan(1)), readBigEndian<std::uint16_t>(frame.subspan(5)),
      readBigEndian<std::uint16_t>(frame.subspan(7)), frame.subspan(kMessageChunkHeaderBytes)};
  if (chunk.count == 0 || chunk.index >= chunk.count) return std::nullopt;
  return chunk;
}

std::optional<std::uint16_t> messageChunkCount(std::size_t documentBytes) {
  const auto count =
      documentBytes / kMessageChunkPayloadBytes + (documentBytes % kMessageChunkPayloadBytes > 0 ? 1 : 0);
  if (count == 0 || count > std::numeric_limits<std::uint16_t>::max()) return std::nullopt;
  return static_cast<std::uint16_t>(count);
}

bool forEachMessageChunk(std::span<const std::byte> document, std::uint32_t messageID,
                         const std::function<bool(std::span<const std::byte> frame)>& visit) {
  const auto count = messageChunkCount(document.size());
  if (!count) return false;
  std::vector<std::byte> frame(kMessageChunkHeaderBytes +
                               std::min(document.size(), kMessageChunkPayloadBytes));
  frame[0] = kChunkTag;
  writeBigEndian(messageID, frame.begin() + 1);
  writeBigEndian(*count, frame.begin() + 7);
  for (std::uint16_t index = 0; index < *count; ++index) {
    const auto rest = document.subspan(index * kMessageChunkPayloadBytes);
    const auto payload = rest.first(std::min(rest.size(), kMessageChunkPayloadBytes));
    writeBigEndian(index, frame.begin() + 5);
    std::copy(payload.begin(), payload.end(), frame.begin() + kMessageChunkHeaderBytes);
    if (!visit(std::span(frame).first(kMessageChunkHeaderBytes + payload.size()))) return false;
  }
  return true;
}

}  // namespace tevanto
