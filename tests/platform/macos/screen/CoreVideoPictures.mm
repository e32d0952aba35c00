#include "tests/platform/macos/screen/CoreVideoPictures.h"

#include <cstdint>
#include <stdexcept>

#include "platform/macos/foundation/CfOwned.h"
#include "platform/macos/screen/CoreVideoPixelBuffer.h"
#include "tests/support/video/EncoderPictures.h"

namespace tevanto::test {
namespace {

/// The luma of a picture, as grey.
void paint(CVPixelBufferRef buffer, const PixelPlane& luma) {
  CVPixelBufferLockBaseAddress(buffer, 0);
  auto* const target = static_cast<std::uint8_t*>(CVPixelBufferGetBaseAddress(buffer));
  const std::size_t stride = CVPixelBufferGetBytesPerRow(buffer);
  for (std::size_t y = 0; y < luma.rows; ++y) {
    for (std::size_t x = 0; x < luma.rowBytes; ++x) {
      auto* const pixel = target + y * stride + x * 4;
      pixel[0] = pixel[1] = pixel[2] = std::to_integer<std::uint8_t>(luma.data[y * luma.stride + x]);
      pixel[3] = 255;
    }
  }
  CVPixelBufferUnlockBaseAddress(buffer, 0);
}

}  // namespace

CoreVideoPictures::CoreVideoPictures(int width, int height) : width_(width), height_(height) {}

std::shared_ptr<const PixelBuffer> CoreVideoPictures::text(int offset) {
  CVPixelBufferRef made = nullptr;
  CVPixelBufferCreate(kCFAllocatorDefault, static_cast<std::size_t>(width_),
                      static_cast<std::size_t>(height_), kCVPixelFormatType_32BGRA, nullptr, &made);
  if (!made) throw std::runtime_error("no pixel buffer");
  const CfOwned<CVPixelBufferRef> buffer(made);
  EncoderPictures pictures(PixelFormat::i420, width_, height_);
  paint(made, pictures.text(offset)->planes()[0]);
  return CoreVideoPixelBuffer::of(made);
}

}  // namespace tevanto::test
