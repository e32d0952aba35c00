#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tevanto {

/// The first byte of every message of the screen stream; integers behind it are big-endian.
///
///     0x10 hello              phone → computer   JSON object
///     0x11 key frame request  phone → computer   nothing; what follows is ignored
///     0x12 stop               phone → computer   nothing
///     0x01 parameter sets     computer → phone   2 bytes length, SPS, 2 bytes length, PPS
///     0x02 video frame        computer → phone   1 byte: 1 for a key frame, else 0; then the NAL units, each
///                                                behind its length in 4 bytes (ISO/IEC 14496-15)
enum class ScreenMessageType : std::uint8_t {
  parameterSets = 0x01,
  videoFrame = 0x02,
  hello = 0x10,
  keyframeRequest = 0x11,
  stop = 0x12,
};

/// What the phone says first. Width and height are those of the phone's view; nothing depends on them.
struct ScreenStreamHello {
  std::string token;
  std::int64_t width = 0;
  std::int64_t height = 0;
  bool prefersLowBandwidth = false;

  bool operator==(const ScreenStreamHello&) const = default;
};

/// NAL units without start code or length.
struct ParameterSets {
  std::span<const std::byte> sps;
  std::span<const std::byte> pps;
};

struct VideoFrame {
  bool isKeyframe = false;
  std::span<const std::byte> data;
};

/// The longest hello that is looked at, in bytes.
inline constexpr std::size_t kMaxHelloBytes = 64 * 1024;

/// Each side at most 65,535 bytes, or the process ends.
std::vector<std::byte> parameterSetMessage(std::span<const std::byte> sps, std::span<const std::byte> pps);
std::vector<std::byte> videoFrameMessage(std::span<const std::byte> data, bool isKeyframe);
std::vector<std::byte> helloMessage(const ScreenStreamHello& hello);
/// A message that is its type byte alone.
std::vector<std::byte> screenMessage(ScreenMessageType type);

/// The type of a message; absent for an empty one and for unknown types.
std::optional<ScreenMessageType> screenMessageType(std::span<const std::byte> message);
/// These take what follows the type byte, and give spans into it.
std::optional<ParameterSets> decodeParameterSets(std::span<const std::byte> body);
std::optional<VideoFrame> decodeVideoFrame(std::span<const std::byte> body);
/// All four members are needed, with their types; integers may be written as 1280.0, booleans are no numbers.
std::optional<ScreenStreamHello> decodeHello(std::span<const std::byte> body);

}  // namespace tevanto
