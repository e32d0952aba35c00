#pragma once

#include <memory>
#include <optional>
#include <string>

#include "screen/encode/PictureEncoder.h"

namespace tevanto {

/// An encoder of libavcodec: those in hardware.
class LibavcodecEncoder final : public PictureEncoder {
 public:
  /// `name` as libavcodec calls it. The failure is a reason for a person.
  static Result<std::unique_ptr<PictureEncoder>> open(const std::string& name,
                                                      const EncoderSettings& settings);
  ~LibavcodecEncoder() override;
  LibavcodecEncoder(const LibavcodecEncoder&) = delete;
  LibavcodecEncoder& operator=(const LibavcodecEncoder&) = delete;

  Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer> picture,
                                           bool forceKeyFrame) override;
  std::optional<double> lastQuantizer() const override;

 private:
  struct Codec;
  explicit LibavcodecEncoder(std::unique_ptr<Codec> codec);

  std::unique_ptr<Codec> codec_;
};

}  // namespace tevanto
