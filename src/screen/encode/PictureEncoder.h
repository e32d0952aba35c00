#pragma once

#include <memory>
#include <optional>

#include "core/Result.h"
#include "screen/encode/AccessUnit.h"
#include "screen/encode/EncoderSettings.h"

namespace tevanto {

/// PictureEncoder is one opened encoder.
/// Used by one thread at a time.
class PictureEncoder {
 public:
  virtual ~PictureEncoder() = default;

  /// The output for this picture, as nothing is held back; absent when the encoder put nothing out. The
  /// picture is not copied; the encoder releases it before it returns. Key frames carry their parameter
  /// sets.
  virtual Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer> picture,
                                                   bool forceKeyFrame) = 0;
  /// The mean quantizer of the last output; absent for encoders that do not tell.
  virtual std::optional<double> lastQuantizer() const = 0;
};

}  // namespace tevanto
