#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tevanto {

/// ScreenMessageType is the first byte of every message of the screen stream. Layout: docs/protocol.md,
/// section 7. The message of `hello` is ScreenStreamHello; those of `keyframeRequest` and `stop` are their
/// type alone.
enum class ScreenMessageType : std::uint8_t {
  parameterSets = 0x01,
  videoFrame = 0x02,
  hello = 0x10,
  keyframeRequest = 0x11,
  stop = 0x12,
};

/// ParameterSets holds the parameter sets of a message: NAL units without start code or length.
struct ParameterSets {
  std::span<const std::byte> sps;
  std::span<const std::byte> pps;
};

/// VideoFrame is one encoded picture of a message, as a view into it.
struct VideoFrame {
  bool isKeyframe = false;
  std::span<const std::byte> data;
};

/// Each side at most 65,535 bytes, or the process ends.
std::vector<std::byte> parameterSetMessage(std::span<const std::byte> sps, std::span<const std::byte> pps);
std::vector<std::byte> videoFrameMessage(std::span<const std::byte> data, bool isKeyframe);
/// A message that is its type byte alone.
std::vector<std::byte> screenMessage(ScreenMessageType type);

/// The type of a message; absent for an empty one and for unknown types.
std::optional<ScreenMessageType> screenMessageType(std::span<const std::byte> message);
/// These take what follows the type byte, and give spans into it.
std::optional<ParameterSets> decodeParameterSets(std::span<const std::byte> body);
std::optional<VideoFrame> decodeVideoFrame(std::span<const std::byte> body);

}  // namespace tevanto
