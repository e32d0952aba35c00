#pragma once

#include <memory>
#include <optional>

#include "screen/encode/PictureEncoder.h"

namespace tevanto {

/// libx264, called directly: only so can it be told, picture by picture, which part stands still and how far
/// to search for what has moved.
class X264Encoder final : public PictureEncoder {
 public:
  static Result<std::unique_ptr<PictureEncoder>> open(const EncoderSettings& settings);
  ~X264Encoder() override;
  X264Encoder(const X264Encoder&) = delete;
  X264Encoder& operator=(const X264Encoder&) = delete;

  Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer> picture,
                                           bool forceKeyFrame) override;
  std::optional<double> lastQuantizer() const override;

 private:
  struct Codec;
  explicit X264Encoder(std::unique_ptr<Codec> codec);

  std::unique_ptr<Codec> codec_;
};

}  // namespace tevanto
