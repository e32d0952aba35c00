#pragma once

#include <memory>
#include <optional>
#include <string>

#include "core/Result.h"
#include "platform/linux/LibavcodecOptions.h"
#include "screen/AccessUnit.h"

namespace tevanto {

/// One opened encoder of libavcodec. Used by one thread at a time.
class LibavcodecEncoder {
 public:
  /// `name` as libavcodec calls it. The failure is a reason for a person.
  static Result<std::unique_ptr<LibavcodecEncoder>> open(const std::string& name,
                                                         const EncoderSettings& settings);
  ~LibavcodecEncoder();
  LibavcodecEncoder(const LibavcodecEncoder&) = delete;
  LibavcodecEncoder& operator=(const LibavcodecEncoder&) = delete;

  /// What came out, which is for this picture, as nothing is held back: absent when the encoder put nothing
  /// out. The picture is read where it lies; the encoder lets go of it by its return. Key frames carry their
  /// parameter sets.
  Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer> picture, bool forceKeyFrame);
  /// The mean quantiser of what came out last; absent for encoders that do not tell.
  std::optional<double> lastQuantizer() const;

 private:
  struct Codec;
  explicit LibavcodecEncoder(std::unique_ptr<Codec> codec);

  std::unique_ptr<Codec> codec_;
};

}  // namespace tevanto
