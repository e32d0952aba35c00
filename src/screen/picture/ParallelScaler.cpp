#include "screen/picture/ParallelScaler.h"

#include <algorithm>
#include <utility>

namespace tevanto {
namespace {

constexpr int kBandRows = 32;    // of the output; even, as chroma wants it
constexpr int kLargeRows = 160;  // waking a thread takes as long as drawing a few dozen rows

}  // namespace

ParallelScaler::ParallelScaler(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight)
    : own_(sourceWidth, sourceHeight, outputWidth, outputHeight),
      helpers_(sourceWidth, sourceHeight, outputWidth, outputHeight) {}

ParallelScaler::~ParallelScaler() {
  if (!helper_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
  }
  wanted_.notify_one();
  helper_.join();
}

void ParallelScaler::draw(const std::byte* source, std::size_t stride, const PixelRect& part,
                          PixelBuffer& buffer) {
  if (part.height < kLargeRows) return own_.draw(source, stride, part, buffer);
  if (!helper_.joinable()) helper_ = std::thread([this] { help(); });
  const Drawing drawing{source, stride, part, &buffer};
  {
    const std::lock_guard lock(mutex_);
    nextBand_ = 0;
    drawing_ = drawing;
  }
  wanted_.notify_one();
  drawBands(own_, drawing);
  std::unique_lock lock(mutex_);
  drawing_.reset();
  helped_.wait(lock, [this] { return !isHelping_; });
}

void ParallelScaler::drawBands(PictureScaler& scaler, const Drawing& drawing) {
  const auto& part = drawing.part;
  for (int top = kBandRows * nextBand_++; top < part.height; top = kBandRows * nextBand_++) {
    const PixelRect band{part.x, part.y + top, part.width, std::min(kBandRows, part.height - top)};
    scaler.draw(drawing.source, drawing.stride, band, *drawing.buffer);
  }
}

void ParallelScaler::help() {
  std::unique_lock lock(mutex_);
  while (true) {
    wanted_.wait(lock, [this] { return isEnding_ || drawing_; });
    if (isEnding_) return;
    const auto drawing = *std::exchange(drawing_, std::nullopt);
    isHelping_ = true;
    lock.unlock();
    drawBands(helpers_, drawing);
    lock.lock();
    isHelping_ = false;
    helped_.notify_one();
  }
}

}  // namespace tevanto
