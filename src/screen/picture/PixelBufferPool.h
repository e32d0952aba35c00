#pragma once

#include <cstddef>
#include <memory>

#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// PixelBufferPool recycles buffers of one shape: a buffer comes back when its last owner releases it.
/// Buffers and pool may outlive one another. Thread-safe; the last owner may be on any thread.
class PixelBufferPool {
 public:
  /// Width and height even and positive for i420 and nv12. `capacity`: the most buffers that exist at a time.
  PixelBufferPool(PixelFormat format, int width, int height, std::size_t capacity);
  ~PixelBufferPool();

  /// A free buffer, with its former contents, the most recently returned one first; null while all are in use
  /// (then the picture is dropped). Rows begin at multiples of 64 bytes.
  std::shared_ptr<PixelBuffer> acquire();

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

}  // namespace tevanto
