#include "screen/picture/PixelBufferPool.h"

#include <cassert>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace tevanto {
namespace {

constexpr std::size_t kRowAlignment = 64;  // a cache line, and enough for every vector unit

std::size_t aligned(std::size_t bytes) { return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment; }

struct AlignedDelete {
  void operator()(std::byte* memory) const { ::operator delete[](memory, std::align_val_t(kRowAlignment)); }
};

class PooledPixelBuffer final : public PixelBuffer {
 public:
  PooledPixelBuffer(PixelFormat format, int width, int height) : PixelBuffer(format, width, height) {
    const auto w = static_cast<std::size_t>(width);
    const auto h = static_cast<std::size_t>(height);
    switch (format) {
      case PixelFormat::bgra:
        addPlane(w * 4, h);
        break;
      case PixelFormat::i420:
        addPlane(w, h);
        addPlane(w / 2, h / 2);
        addPlane(w / 2, h / 2);
        break;
      case PixelFormat::nv12:
        addPlane(w, h);
        addPlane(w, h / 2);
        break;
      case PixelFormat::native:
        break;
    }
    allocate();
  }

 private:
  void addPlane(std::size_t rowBytes, std::size_t rows) {
    planes_.push_back({nullptr, aligned(rowBytes), rowBytes, rows});
  }

  void allocate() {
    std::size_t size = 0;
    for (const auto& plane : planes_) size += plane.stride * plane.rows;
    memory_.reset(new (std::align_val_t(kRowAlignment)) std::byte[size]());
    auto* next = memory_.get();
    for (auto& plane : planes_) {
      plane.data = next;
      next += plane.stride * plane.rows;
    }
  }

  std::unique_ptr<std::byte[], AlignedDelete> memory_;
};

}  // namespace

struct PixelBufferPool::Core {
  const PixelFormat format;
  const int width;
  const int height;
  const std::size_t capacity;
  std::mutex mutex;
  std::size_t made = 0;
  std::vector<std::unique_ptr<PixelBuffer>> free;  // the most recently returned one last
};

PixelBufferPool::PixelBufferPool(PixelFormat format, int width, int height, std::size_t capacity)
    : core_(new Core{format, width, height, capacity, {}, 0, {}}) {
  assert(format != PixelFormat::native && "the system makes its own buffers");
  assert(width > 0 && height > 0 && "a picture has pixels");
  assert((format == PixelFormat::bgra || (width % 2 == 0 && height % 2 == 0)) && "chroma has half the size");
  core_->free.reserve(capacity);
}

PixelBufferPool::~PixelBufferPool() = default;

std::shared_ptr<PixelBuffer> PixelBufferPool::acquire() {
  std::unique_ptr<PixelBuffer> buffer;
  {
    const std::lock_guard lock(core_->mutex);
    if (!core_->free.empty()) {
      buffer = std::move(core_->free.back());
      core_->free.pop_back();
    } else if (core_->made < core_->capacity) {
      ++core_->made;
    } else {
      return nullptr;
    }
  }
  if (!buffer) buffer = std::make_unique<PooledPixelBuffer>(core_->format, core_->width, core_->height);
  return {buffer.release(), [core = core_](PixelBuffer* returned) {
            const std::lock_guard lock(core->mutex);
            core->free.emplace_back(returned);
          }};
}

}  // namespace tevanto
