#pragma once

#include "screen/encode/EncoderSession.h"

namespace tevanto {

/// VideoToolboxEncoder makes compression sessions of VideoToolbox, which encodes in hardware where the Mac
/// can. They take pictures of `PixelFormat::native` only: CVPixelBuffers, which are not copied.
class VideoToolboxEncoder final : public EncoderSessionFactory {
 public:
  Result<std::shared_ptr<EncoderSession>> create(std::int32_t width, std::int32_t height,
                                                 VideoCodec codec) override;
  std::string encoderName() const override { return "VideoToolbox"; }
};

}  // namespace tevanto
