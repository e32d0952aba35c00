#pragma once

#include <cstdint>
#include <optional>

#include "screen/DisplayCapture.h"

namespace tevanto {

/// A four-character code, as the media frameworks name formats: "BGRA" is 0x42475241.
constexpr std::uint32_t fourCharCode(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

/// What ScreenCaptureKit delivers as `PixelFormat::native`.
inline constexpr std::uint32_t kCapturePixelFormat = fourCharCode("BGRA");

/// The status of a frame (SCFrameStatus) that its sample's attachments name. Started and stopped are none of
/// a picture's.
std::optional<SampleStatus> sampleStatusOf(std::optional<std::int64_t> frameStatus);

}  // namespace tevanto
