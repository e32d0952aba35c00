#pragma once

#include <memory>

#include "core/Result.h"
#include "platform/linux/video/LibavOwned.h"

namespace tevanto {

/// Pictures in the memory of a VA-API device, from which its encoder reads.
class VaapiFrames {
 public:
  /// On the first device that there is; `context` gets the device's pictures for its format.
  static Result<std::unique_ptr<VaapiFrames>> attach(AVCodecContext& context);

  /// The picture in the device's memory, with the same time and type; null when it cannot be brought there.
  LibavOwned<AVFrame> upload(const AVFrame& picture) const;

 private:
  explicit VaapiFrames(LibavOwned<AVBufferRef> frames) : frames_(std::move(frames)) {}

  LibavOwned<AVBufferRef> frames_;
};

}  // namespace tevanto
