#include "phone/media/LibraryMirrorMedia.h"

#include "phone/media/LibavVideoDecoder.h"
#include "phone/media/Mp4Recorder.h"
#include "phone/media/PngFile.h"
#include "phone/media/SdlMirrorWindow.h"

namespace tevanto::phone {

Result<std::unique_ptr<VideoDecoder>> LibraryMirrorMedia::makeDecoder() {
  return LibavVideoDecoder::create();
}

Result<std::unique_ptr<StreamRecorder>> LibraryMirrorMedia::recordMp4(const std::filesystem::path& path) {
  return Mp4Recorder::create(path);
}

Result<std::unique_ptr<MirrorWindow>> LibraryMirrorMedia::openWindow(const std::string& title) {
  return SdlMirrorWindow::open(title);
}

Result<void> LibraryMirrorMedia::writePng(const DecodedPicture& picture, const std::filesystem::path& path) {
  return writePngFile(picture, path);
}

}  // namespace tevanto::phone
