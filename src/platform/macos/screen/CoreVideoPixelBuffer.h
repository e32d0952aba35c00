#pragma once

#import <CoreVideo/CoreVideo.h>

#include <memory>

#include "platform/macos/foundation/CfOwned.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// A buffer of the system's own on its way from capture to encoder. Its pixels are never looked at here:
/// while this lives, the system does not use the buffer again.
class CoreVideoPixelBuffer final : public PixelBuffer {
 public:
  static std::shared_ptr<const CoreVideoPixelBuffer> of(CVPixelBufferRef buffer);
  explicit CoreVideoPixelBuffer(CVPixelBufferRef buffer);

  void* nativeHandle() const override { return buffer_.get(); }

 private:
  const CfOwned<CVPixelBufferRef> buffer_;
};

}  // namespace tevanto
