#pragma once

#include <filesystem>
#include <memory>

#include "phone/mirror/StreamRecorder.h"

namespace tevanto::phone {

/// Records into an MP4 file (ISO/IEC 14496-14 and -15) without encoding anew. The stream carries no times:
/// each frame is shown when it arrived.
class Mp4Recorder final : public StreamRecorder {
 public:
  static Result<std::unique_ptr<StreamRecorder>> create(const std::filesystem::path& path);
  ~Mp4Recorder() override;

  Result<void> write(const ReceivedFrame& frame) override;
  Result<void> finish(std::chrono::steady_clock::time_point end) override;

 private:
  struct File;
  explicit Mp4Recorder(std::unique_ptr<File> file);

  std::unique_ptr<File> file_;
};

}  // namespace tevanto::phone
