#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tevanto {

/// PresentationTime is a time on the clock of the capture, from an origin of its own. It is strictly
/// increasing within one stream.
using PresentationTime = std::chrono::nanoseconds;

/// PixelFormat is the layout of the samples in a buffer, 8 bits each.
enum class PixelFormat {
  bgra,    // one plane, 4 bytes a pixel
  i420,    // Y, U, V; U and V at half the width and height
  nv12,    // Y, then U and V interleaved at half the width and height
  native,  // no planes: `nativeHandle` is a buffer of the system's own, such as a CVPixelBuffer
};

/// ColorSpace is the meaning of the numbers in a buffer; the YCbCr formats carry ITU-R BT.709 in limited
/// range.
enum class ColorSpace { srgb, bt709Limited };

/// PixelPlane is one plane of a buffer. Each of its rows has `rowBytes` bytes of samples.
struct PixelPlane {
  std::byte* data = nullptr;
  std::size_t stride = 0;  // bytes from one row to the next
  std::size_t rowBytes = 0;
  std::size_t rows = 0;
};

/// PixelRect is a rectangle in pixels of a buffer.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool operator==(const PixelRect&) const = default;
};

/// PictureChange names the picture that a buffer holds, and the region in which it differs from an earlier
/// one. With it the capture redraws only the changes in a recycled buffer, and the encoder skips the parts
/// that stand still. Numbers count up from 1 within a stream.
struct PictureChange {
  std::uint64_t picture = 0;   // 0: unknown
  std::uint64_t previous = 0;  // the picture that `region` is counted from; 0: everything changed
  PixelRect region;
};

/// PixelBuffer is one picture on its way from capture to encoder. It is shared, never copied: the capture
/// fills it, and after its delivery it does not change until the last owner releases it.
class PixelBuffer {
 public:
  virtual ~PixelBuffer() = default;
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;

  PixelFormat format() const { return format_; }
  ColorSpace colorSpace() const {
    return format_ == PixelFormat::bgra ? ColorSpace::srgb : ColorSpace::bt709Limited;
  }
  int width() const { return width_; }
  int height() const { return height_; }
  std::span<const PixelPlane> planes() const { return planes_; }
  /// The system's own buffer for `native`, else null; valid for as long as this object.
  virtual void* nativeHandle() const { return nullptr; }

  /// Set by the capture before delivery; a recycled buffer still has that of its former picture.
  PictureChange change;

 protected:
  PixelBuffer(PixelFormat format, int width, int height) : format_(format), width_(width), height_(height) {}

  std::vector<PixelPlane> planes_;

 private:
  const PixelFormat format_;
  const int width_;
  const int height_;
};

}  // namespace tevanto
