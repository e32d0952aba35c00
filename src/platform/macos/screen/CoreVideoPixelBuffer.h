#pragma once

#import <CoreVideo/CoreVideo.h>

#include <memory>

#include "platform/macos/foundation/CfOwned.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// CoreVideoPixelBuffer holds a buffer of the system on its way from capture to encoder. Its pixels are not
/// accessed. The system does not reuse the buffer while this lives.
class CoreVideoPixelBuffer final : public PixelBuffer {
 public:
  static std::shared_ptr<const CoreVideoPixelBuffer> of(CVPixelBufferRef buffer);
  explicit CoreVideoPixelBuffer(CVPixelBufferRef buffer);

  void* nativeHandle() const override { return buffer_.get(); }

 private:
  const CfOwned<CVPixelBufferRef> buffer_;
};

}  // namespace tevanto
