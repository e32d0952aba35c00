#include "screen/wire/ScreenStreamMessage.h"

#include <limits>

#include "core/Precondition.h"
#include "screen/wire/BigEndian.h"

namespace tevanto {
namespace {

using Bytes = std::vector<std::byte>;

void append(Bytes& bytes, std::span<const std::byte> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

void appendParameterSet(Bytes& message, std::span<const std::byte> nalUnit) {
  precondition(nalUnit.size() <= std::numeric_limits<std::uint16_t>::max(),
               "a parameter set is longer than its message can say");
  append(message, bigEndian(static_cast<std::uint16_t>(nalUnit.size())));
  append(message, nalUnit);
}

std::optional<std::span<const std::byte>> takeParameterSet(std::span<const std::byte>& rest) {
  if (rest.size() < 2) return std::nullopt;
  const std::size_t length = readBigEndian<std::uint16_t>(rest);
  if (rest.size() - 2 < length) return std::nullopt;
  const auto nalUnit = rest.subspan(2, length);
  rest = rest.subspan(2 + length);
  return nalUnit;
}

}  // namespace

Bytes parameterSetMessage(std::span<const std::byte> sps, std::span<const std::byte> pps) {
  auto message = screenMessage(ScreenMessageType::parameterSets);
  message.reserve(1 + 2 + sps.size() + 2 + pps.size());
  appendParameterSet(message, sps);
  appendParameterSet(message, pps);
  return message;
}

Bytes videoFrameMessage(std::span<const std::byte> data, bool isKeyframe) {
  Bytes message;
  message.reserve(2 + data.size());
  message.push_back(static_cast<std::byte>(ScreenMessageType::videoFrame));
  message.push_back(static_cast<std::byte>(isKeyframe ? 1 : 0));
  append(message, data);
  return message;
}

Bytes screenMessage(ScreenMessageType type) { return {static_cast<std::byte>(type)}; }

std::optional<ScreenMessageType> screenMessageType(std::span<const std::byte> message) {
  if (message.empty()) return std::nullopt;
  const auto type = static_cast<ScreenMessageType>(message[0]);
  switch (type) {
    case ScreenMessageType::parameterSets:
    case ScreenMessageType::videoFrame:
    case ScreenMessageType::hello:
    case ScreenMessageType::keyframeRequest:
    case ScreenMessageType::stop:
      return type;
  }
  return std::nullopt;
}

std::optional<ParameterSets> decodeParameterSets(std::span<const std::byte> body) {
  const auto sps = takeParameterSet(body);
  const auto pps = sps ? takeParameterSet(body) : std::nullopt;
  if (!pps) return std::nullopt;
  return ParameterSets{*sps, *pps};
}

std::optional<VideoFrame> decodeVideoFrame(std::span<const std::byte> body) {
  if (body.empty()) return std::nullopt;
  return VideoFrame{body[0] == std::byte{1}, body.subspan(1)};
}

}  // namespace tevanto
