#pragma once

#include "tests/platform/contracts/EncoderSessionContract.h"

namespace tevanto::test {

/// Pictures of text in the system's own buffers, in BGRA.
class CoreVideoPictures final : public EncoderInput {
 public:
  CoreVideoPictures(int width, int height);
  std::shared_ptr<const PixelBuffer> text(int offset) override;

 private:
  const int width_;
  const int height_;
};

}  // namespace tevanto::test
