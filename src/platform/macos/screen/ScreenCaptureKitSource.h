#pragma once

#include <memory>

#include "screen/capture/DisplayCapture.h"

namespace tevanto {

/// ScreenCaptureKitSource captures the displays of a Mac by ScreenCaptureKit. Streams deliver
/// `PixelFormat::native` only: CVPixelBuffers in BGRA, unchanged. The first call may make the system ask the
/// user for the permission to record the screen. The system stops a stream whose display is disconnected.
/// Sizes are in points: a picture is never larger than that, however many pixels a point has.
class ScreenCaptureKitSource final : public DisplayCapture {
 public:
  ScreenCaptureKitSource();
  ~ScreenCaptureKitSource() override;

  void listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) override;
  PixelFormat preferredFormat() const override { return PixelFormat::native; }
  /// `display` is one of those that were listed last.
  Result<std::shared_ptr<CaptureStream>> makeStream(DisplayID display,
                                                    const CaptureConfiguration& configuration,
                                                    std::shared_ptr<SerialQueue> sampleQueue,
                                                    CaptureStream::Handlers handlers) override;

 private:
  struct Core;
  const std::shared_ptr<Core> core_;  // an answer may come after this is gone
};

}  // namespace tevanto
