#pragma once

#include "phone/mirror/MirrorMedia.h"

namespace tevanto::phone {

/// Decoding and recording by libavcodec and libavformat, the window by SDL.
class LibraryMirrorMedia final : public MirrorMedia {
 public:
  Result<std::unique_ptr<VideoDecoder>> makeDecoder() override;
  Result<std::unique_ptr<StreamRecorder>> recordMp4(const std::filesystem::path& path) override;
  Result<std::unique_ptr<MirrorWindow>> openWindow(const std::string& title) override;
  Result<void> writePng(const DecodedPicture& picture, const std::filesystem::path& path) override;
};

}  // namespace tevanto::phone
