#include "platform/macos/screen/VideoToolboxEncoder.h"

#import <VideoToolbox/VideoToolbox.h>

#include "platform/macos/foundation/CfOwned.h"
#include "platform/macos/screen/VideoToolboxSession.h"

static_assert(static_cast<CMVideoCodecType>(tevanto::VideoCodec::h264) == kCMVideoCodecType_H264);

namespace tevanto {

Result<std::shared_ptr<EncoderSession>> VideoToolboxEncoder::create(std::int32_t width, std::int32_t height,
                                                                    VideoCodec codec) {
  VTCompressionSessionRef made = nullptr;
  const OSStatus status =
      VTCompressionSessionCreate(kCFAllocatorDefault, width, height, static_cast<CMVideoCodecType>(codec),
                                 nullptr, nullptr, nullptr, nullptr, nullptr, &made);
  auto session = CfOwned<VTCompressionSessionRef>(made);
  if (status != noErr || !session)
    return Failure{"VideoToolbox makes no compression session (" + std::to_string(status) + ")."};
  return std::shared_ptr<EncoderSession>(std::make_shared<VideoToolboxSession>(std::move(session)));
}

}  // namespace tevanto
