#include "platform/macos/screen/CoreVideoPixelBuffer.h"

namespace tevanto {

std::shared_ptr<const CoreVideoPixelBuffer> CoreVideoPixelBuffer::of(CVPixelBufferRef buffer) {
  return std::make_shared<CoreVideoPixelBuffer>(buffer);
}

CoreVideoPixelBuffer::CoreVideoPixelBuffer(CVPixelBufferRef buffer)
    : PixelBuffer(PixelFormat::native, static_cast<int>(CVPixelBufferGetWidth(buffer)),
                  static_cast<int>(CVPixelBufferGetHeight(buffer))),
      buffer_(CfOwned<CVPixelBufferRef>::retaining(buffer)) {}

}  // namespace tevanto
