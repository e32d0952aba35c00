#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <thread>

#include "screen/picture/PictureScaler.h"

namespace tevanto {

/// ParallelScaler scales large parts of a picture together with a second thread, as each picture of a moving
/// page is late by that time. Both threads take band after band: a thread that the system does not schedule
/// delays nothing but its present band.
/// Called by one thread. The second thread begins with the first large part, sleeps in between, and ends with
/// the object.
class ParallelScaler {
 public:
  ParallelScaler(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight);
  ~ParallelScaler();
  ParallelScaler(const ParallelScaler&) = delete;
  ParallelScaler& operator=(const ParallelScaler&) = delete;

  const PixelRect& viewport() const { return own_.viewport(); }
  PixelRect outputOf(const PixelRect& source) const { return own_.outputOf(source); }
  /// As `PictureScaler::draw`; all is drawn when it returns.
  void draw(const std::byte* source, std::size_t stride, const PixelRect& part, PixelBuffer& buffer);

 private:
  /// Drawing is one call of `draw`, which both threads carry out.
  struct Drawing {
    const std::byte* source;
    std::size_t stride;
    PixelRect part;
    PixelBuffer* buffer;
  };

  void drawBands(PictureScaler& scaler, const Drawing& drawing);
  void help();

  PictureScaler own_;
  PictureScaler helpers_;
  std::atomic<int> nextBand_ = 0;
  std::mutex mutex_;
  std::condition_variable wanted_;
  std::condition_variable helped_;
  std::optional<Drawing> drawing_;  // that the helper may take up
  bool isHelping_ = false;
  bool isEnding_ = false;
  std::thread helper_;
};

}  // namespace tevanto
