#pragma once

#include "screen/encode/EncoderSession.h"

namespace tevanto {

/// Compression sessions by VideoToolbox, which encodes in hardware where the Mac can. They take pictures of
/// `PixelFormat::native` only: CVPixelBuffers, which travel uncopied.
class VideoToolboxEncoder final : public EncoderSessionFactory {
 public:
  Result<std::shared_ptr<EncoderSession>> create(std::int32_t width, std::int32_t height,
                                                 VideoCodec codec) override;
  std::string encoderName() const override { return "VideoToolbox"; }
};

}  // namespace tevanto
