#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "core/Result.h"
#include "phone/mirror/DecodedPicture.h"

namespace tevanto::phone {

/// VideoDecoder decodes H.264, one access unit at a time, in the order of the stream.
class VideoDecoder {
 public:
  virtual ~VideoDecoder() = default;
  /// `accessUnit` in Annex B form. Nothing when the decoder holds the picture back; a failure when it is
  /// damaged or its reference is missing.
  virtual Result<std::optional<DecodedPicture>> decode(std::span<const std::byte> accessUnit) = 0;
  /// Forgets all pictures; the next access unit is a key frame with its parameter sets.
  virtual void flush() = 0;
};

}  // namespace tevanto::phone
