#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/queue/QueueBound.h"
#include "platform/linux/x11/capture/DescriptorWatch.h"
#include "platform/linux/x11/capture/XCaptureConnection.h"
#include "platform/linux/x11/capture/XPointerImage.h"
#include "platform/linux/x11/capture/XScreenImage.h"
#include "screen/capture/DisplayCapture.h"
#include "screen/picture/CaptureLeadTime.h"
#include "screen/picture/ChangedArea.h"
#include "screen/picture/FramePacer.h"
#include "screen/picture/ParallelScaler.h"
#include "screen/picture/PictureHistory.h"
#include "screen/picture/PixelBufferPool.h"

namespace tevanto {

/// One running capture on X11. Everything happens on the sample queue, which has to be one of an event loop:
///
///     X event ──> wait for the pacer ──> what was drawn, where the pointer is ──> its rows into shared
///     memory
///         ──> scaled and converted into a recycled buffer ──> the sample handler
///
/// Of a page that moves, all but the last step comes a moment before the pacer's, and once more for what has
/// changed until then.
///
/// A handler that takes its time holds up the next picture rather than having pictures queue.
class X11CaptureSession final : public QueueBound<X11CaptureSession> {
 public:
  X11CaptureSession(std::string displayName, DisplayID display, const CaptureConfiguration& configuration,
                    std::shared_ptr<SerialQueue> queue, CaptureStream::Handlers handlers);

  /// Any thread.
  void start(std::function<void(Result<void>)> done);
  void stop(std::function<void(Result<void>)> done);

 private:
  Result<void> open();
  bool useMonitors(const std::vector<XMonitor>& monitors);
  void useMonitor(const XMonitor& monitor);
  void watch();
  void handleEvents();
  void service();
  void handleChanges(const XCaptureConnection::Changes& changes);
  void wakeAfter(FramePacer::Duration wait);
  void prepare();
  void capturePicture();
  bool updateLayout();
  bool readScreen();
  bool readRows(const XCaptureConnection::Activity& activity);
  void movePointer(const XCaptureConnection::Activity& activity);
  std::optional<PixelRect> pointerArea() const;
  void readingFailed();
  std::shared_ptr<PixelBuffer> finishPicture();
  /// `region`: of the output, what differs from the latest picture.
  std::shared_ptr<PixelBuffer> drawPicture(const PixelRect& region);
  void render(PixelBuffer& buffer, const ChangedArea& area);
  PixelRect outputBounds() const;
  bool isLarge(const PixelRect& part) const;
  void deliver(std::shared_ptr<const PixelBuffer> picture);
  void fail(const std::string& reason);
  void close();

  const std::string displayName_;
  const CaptureConfiguration configuration_;
  const CaptureStream::Handlers handlers_;
  std::atomic<bool> stopped_ = false;

  std::mutex screenLock_;  // guards the pointer, for `stop` to interrupt what waits on it
  std::shared_ptr<XCaptureConnection> screen_;

  DisplayID display_;
  std::unique_ptr<DescriptorWatch> watch_;
  Timer timer_;
  FramePacer pacer_;
  FramePacer::TimePoint pictureBegan_{};
  PresentationTime lastTime_{0};
  CaptureLeadTime leadTime_;
  bool isPrepared_ = false;                // the next picture was begun, or there was nothing to begin
  bool isRead_ = false;                    // no change is known since the screen was read
  std::shared_ptr<PixelBuffer> prepared_;  // the next picture as far as it is drawn
  int failures_ = 0;                       // in a row

  std::optional<XMonitor> monitor_;
  std::unique_ptr<XScreenImage> image_;
  std::unique_ptr<ParallelScaler> scaler_;
  std::unique_ptr<PixelBufferPool> pool_;
  std::optional<PictureHistory> history_;
  ChangedArea unread_;   // rows of which the server has newer pixels
  ChangedArea unshown_;  // the parts that differ from the latest picture
  std::optional<PointerPosition> pointer_;
  std::optional<XPointerImage> pointerImage_;
  bool pointerStale_ = true;
  bool layoutStale_ = false;
};

}  // namespace tevanto
