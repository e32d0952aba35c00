#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/queue/QueueBound.h"
#include "screen/capture/DisplayCapture.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// OutputSize is the size of the captured pictures, in pixels.
struct OutputSize {
  std::int64_t width = 0;
  std::int64_t height = 0;

  bool operator==(const OutputSize&) const = default;
};

/// The size in which a display of `width` × `height` pixels is captured: its longer side at most `longSide`,
/// never larger than the display, both sides even. `longSide` squared for a display without pixels.
OutputSize scaledSize(std::int64_t width, std::int64_t height, std::int64_t longSide);

/// CaptureEngine captures the main display for one streaming session and hands every complete picture to one
/// handler. It keeps the latest picture, to deliver it again while the screen stands still.
/// Pictures and refreshes come on `queue`.
/// Owned by the capture session.
///
///     created --start--> starting --stream runs--> capturing --stop--> stopped (for good)
class CaptureEngine final : public QueueBound<CaptureEngine> {
 public:
  using PixelBufferHandler =
      std::function<void(const std::shared_ptr<const PixelBuffer>& pixelBuffer, PresentationTime time,
                         std::int64_t width, std::int64_t height)>;
  using ErrorHandler = std::function<void(const std::string& message)>;
  using StartedHandler = std::function<void()>;

  /// `displays` outlives it; `fps` from 1 to what 32 bits hold.
  CaptureEngine(DisplayCapture& displays, std::int64_t longSide, std::int64_t fps,
                std::shared_ptr<SerialQueue> queue);
  ~CaptureEngine();

  /// From any thread, and called on any thread: a fatal error with its text for the user, and that capture
  /// runs.
  void setPixelBufferHandler(PixelBufferHandler handler);
  void setErrorHandler(ErrorHandler handler);
  void setStartedHandler(StartedHandler handler);

  /// Returns at once.
  void start();
  /// After it no handler is called again. From any thread, a handler's included.
  void stop();
  /// Delivers the latest picture again, one frame interval later on the time line; nothing when there is
  /// none.
  void requestRefresh();
  /// The same before it returns; on `queue`.
  void refresh();

 private:
  /// Frame is the latest picture, with its time and its size in pixels.
  struct Frame {
    std::shared_ptr<const PixelBuffer> pixelBuffer;
    PresentationTime time{0};
    std::int64_t width = 0;
    std::int64_t height = 0;
  };

  void listDisplays();
  void startWith(Result<std::vector<ShareableDisplay>> displays);
  void startCapture(const ShareableDisplay& display);
  Result<std::shared_ptr<CaptureStream>> makeStream(const ShareableDisplay& display);
  bool keep(const std::shared_ptr<CaptureStream>& stream);
  void captureStarted(const Result<void>& result);
  void handleSample(const CaptureSample& sample);
  void deliver(const Frame& frame);
  void reportError(const std::string& message);
  bool isStopped();

  DisplayCapture& displays_;
  const std::int64_t longSide_;
  const std::chrono::nanoseconds frameInterval_;
  OutputSize outSize_;  // written before the stream exists, read by its samples

  std::mutex callbackLock_;
  PixelBufferHandler pixelBufferHandler_;
  ErrorHandler errorHandler_;
  StartedHandler startedHandler_;

  std::mutex lifecycleLock_;
  bool stopped_ = false;
  std::shared_ptr<CaptureStream> stream_;

  std::mutex frameLock_;
  std::optional<Frame> latestFrame_;
};

}  // namespace tevanto
