#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "net/TcpConnection.h"
#include "screen/CaptureEngine.h"
#include "screen/H264Encoder.h"
#include "screen/ScreenFrameSendGate.h"

namespace tevanto {

struct StreamProfile {
  std::int64_t longSide = 0;  // pixels
  std::int64_t fps = 0;
  std::int64_t bitRate = 0;  // bits per second

  bool operator==(const StreamProfile&) const = default;
};

inline constexpr StreamProfile kFullProfile{1280, 15, 6'000'000};
inline constexpr StreamProfile kLowProfile{960, 12, 2'000'000};

/// How a session's messages reach the phone. Called on the encoder's thread; each tells whether the route
/// took the message, and refuses once the route is gone.
struct ScreenRoute {
  std::function<bool(SharedBytes message)> sendParameterSets;
  std::function<bool(SharedBytes message, bool isKeyframe)> sendFrame;
};

/// One capture session: engine → encoder → gate → route.
///
///     capture queue                            encoder's thread
///     CaptureEngine --pixel buffer--> H264Encoder --parameter sets------------------> route
///                                          ^      --frame--> ScreenFrameSendGate --> route
///                                          +--- key frame, please ----+
///
/// Made, started and stopped on the server's queue. Nothing comes out once `isCurrent` says no.
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
  void wireEncoder(ScreenRoute route, std::function<bool()> isCurrent);

  std::shared_ptr<H264Encoder> encoder_;
  std::shared_ptr<CaptureEngine> capture_;
};

}  // namespace tevanto
