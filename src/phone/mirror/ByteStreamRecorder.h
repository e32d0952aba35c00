#pragma once

#include <filesystem>
#include <fstream>
#include <memory>
#include <utility>

#include "phone/mirror/StreamRecorder.h"

namespace tevanto::phone {

/// ByteStreamRecorder records the bare byte stream (ITU-T H.264, Annex B), which carries no times.
class ByteStreamRecorder final : public StreamRecorder {
 public:
  static Result<std::unique_ptr<StreamRecorder>> create(const std::filesystem::path& path);

  Result<void> write(const ReceivedFrame& frame) override;
  Result<void> finish(std::chrono::steady_clock::time_point end) override;

 private:
  ByteStreamRecorder(std::filesystem::path path, std::ofstream file)
      : path_(std::move(path)), file_(std::move(file)) {}

  std::filesystem::path path_;
  std::ofstream file_;
};

}  // namespace tevanto::phone
