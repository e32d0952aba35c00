#pragma once

#include <cstdint>
#include <optional>

#include "platform/macos/values/system/FourCharacterCode.h"
#include "screen/capture/DisplayCapture.h"

namespace tevanto {

/// What ScreenCaptureKit delivers as `PixelFormat::native`.
inline constexpr std::uint32_t kCapturePixelFormat = fourCharacterCode("BGRA");

/// The status of a frame (SCFrameStatus) that its sample's attachments name. Started and stopped are none of
/// a picture's.
std::optional<SampleStatus> sampleStatusOf(std::optional<std::int64_t> frameStatus);

}  // namespace tevanto
