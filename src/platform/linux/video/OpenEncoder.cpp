#include "platform/linux/video/OpenEncoder.h"

#include "platform/linux/video/LibavcodecEncoder.h"
#include "platform/linux/video/X264Encoder.h"

namespace tevanto {

Result<std::unique_ptr<PictureEncoder>> openEncoder(const std::string& name,
                                                    const EncoderSettings& settings) {
  return name == kSoftwareEncoder ? X264Encoder::open(settings) : LibavcodecEncoder::open(name, settings);
}

}  // namespace tevanto
