#pragma once

#include <cstdint>
#include <optional>

#include "platform/macos/values/system/FourCharacterCode.h"
#include "screen/capture/DisplayCapture.h"

namespace tevanto {

/// The pixel format that ScreenCaptureKit delivers as `PixelFormat::native`.
inline constexpr std::uint32_t kCapturePixelFormat = fourCharacterCode("BGRA");

/// Translates the status of a frame (SCFrameStatus) from its sample's attachments. Empty for started and
/// stopped, which are no status of a picture.
std::optional<SampleStatus> sampleStatusOf(std::optional<std::int64_t> frameStatus);

}  // namespace tevanto
