#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "screen/ScreenRoute.h"
#include "screen/capture/CaptureEngine.h"
#include "screen/encode/H264Encoder.h"

namespace tevanto {

struct StreamProfile {
  std::int64_t longSide = 0;  // pixels
  std::int64_t fps = 0;
  std::int64_t bitRate = 0;  // bits per second

  bool operator==(const StreamProfile&) const = default;
};

inline constexpr StreamProfile kFullProfile{1280, 15, 6'000'000};
inline constexpr StreamProfile kLowProfile{960, 12, 2'000'000};

class PictureRefinement;
class ScreenFrameDelivery;

/// ScreenCaptureSession is one capture session: engine → encoder → gate → route.
///
///     capture queue                            encoder's thread
///     CaptureEngine --pixel buffer--> H264Encoder --parameter sets------------------> route
///        ^  once more at rest |            ^      --frame--> ScreenFrameSendGate --> route
///        +-- PictureRefinement            +--- key frame, please ----+
///
/// Made, started and stopped on the server's queue. It sends nothing once `isCurrent` returns false.
class ScreenCaptureSession {
 public:
  struct Handlers {
    std::function<bool()> isCurrent;                          // any thread
    std::function<void()> onStarted;                          // any thread
    std::function<void(const std::string& message)> onError;  // any thread; a text for the user
  };

  ScreenCaptureSession(DisplayCapture& displays, EncoderSessionFactory& encoders,
                       std::shared_ptr<SerialQueue> captureQueue, const StreamProfile& profile);
  ~ScreenCaptureSession();

  void start(ScreenRoute route, Handlers handlers);
  void stop();
  void requestKeyframe();
  /// Delivers the latest picture again, so that a screen that stands still yields a key frame.
  void requestRefresh();

 private:
  std::shared_ptr<PictureRefinement> makeRefinement() const;
  void wireEncoder(std::function<bool()> isCurrent);
  void wireCapture();

  const std::shared_ptr<SerialQueue> captureQueue_;
  const std::chrono::nanoseconds frameInterval_;
  std::shared_ptr<H264Encoder> encoder_;
  std::shared_ptr<CaptureEngine> capture_;
  std::shared_ptr<ScreenFrameDelivery> delivery_;
  std::shared_ptr<PictureRefinement> refinement_;
};

}  // namespace tevanto
