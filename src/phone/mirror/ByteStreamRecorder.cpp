#include "phone/mirror/ByteStreamRecorder.h"

namespace tevanto::phone {
namespace {

Failure cannotWrite(const std::filesystem::path& path) { return {path.string() + " cannot be written."}; }

}  // namespace

Result<std::unique_ptr<StreamRecorder>> ByteStreamRecorder::create(const std::filesystem::path& path) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file) return cannotWrite(path);
  return std::unique_ptr<StreamRecorder>(new ByteStreamRecorder(path, std::move(file)));
}

Result<void> ByteStreamRecorder::write(const ReceivedFrame& frame) {
  file_.write(reinterpret_cast<const char*>(frame.byteStream.data()),
              static_cast<std::streamsize>(frame.byteStream.size()));
  file_.flush();  // for who plays it while it grows
  if (!file_) return cannotWrite(path_);
  return {};
}

Result<void> ByteStreamRecorder::finish(std::chrono::steady_clock::time_point) {
  file_.close();
  if (!file_) return cannotWrite(path_);
  return {};
}

}  // namespace tevanto::phone
