#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "core/Result.h"
#include "phone/mirror/MirrorWindow.h"
#include "phone/mirror/StreamRecorder.h"
#include "phone/mirror/VideoDecoder.h"

namespace tevanto::phone {

/// MirrorMedia makes the parts of mirroring that need media libraries of the system.
class MirrorMedia {
 public:
  virtual ~MirrorMedia() = default;
  virtual Result<std::unique_ptr<VideoDecoder>> makeDecoder() = 0;
  /// Makes an MP4 file.
  virtual Result<std::unique_ptr<StreamRecorder>> recordMp4(const std::filesystem::path& path) = 0;
  virtual Result<std::unique_ptr<MirrorWindow>> openWindow(const std::string& title) = 0;
  virtual Result<void> writePng(const DecodedPicture& picture, const std::filesystem::path& path) = 0;
};

}  // namespace tevanto::phone
