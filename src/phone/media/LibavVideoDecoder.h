#pragma once

#include <memory>

#include "phone/mirror/VideoDecoder.h"

namespace tevanto::phone {

/// libavcodec's H.264 decoder, set to hand out each picture at once. Pictures that it had to mend are
/// damaged. A frame that is missing altogether it does not notice; the connection loses none.
class LibavVideoDecoder final : public VideoDecoder {
 public:
  static Result<std::unique_ptr<VideoDecoder>> create();
  ~LibavVideoDecoder() override;

  Result<std::optional<DecodedPicture>> decode(std::span<const std::byte> accessUnit) override;
  void flush() override;

 private:
  struct Codec;
  explicit LibavVideoDecoder(std::unique_ptr<Codec> codec);

  std::unique_ptr<Codec> codec_;
};

}  // namespace tevanto::phone
