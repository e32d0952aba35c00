#pragma once

#include <memory>

#include "screen/capture/DisplayCapture.h"

namespace tevanto {

/// The displays of a Mac, by ScreenCaptureKit. Streams deliver `PixelFormat::native` only: CVPixelBuffers in
/// BGRA, as the system made them. The first question may bring up the system's request for the permission to
/// record the screen. A stream whose display goes away is stopped by the system. Sizes are what the system
/// calls the display's, points: pictures are never larger than that, however many pixels lie behind a point.
class ScreenCaptureKitSource final : public DisplayCapture {
 public:
  ScreenCaptureKitSource();
  ~ScreenCaptureKitSource() override;

  void listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) override;
  PixelFormat preferredFormat() const override { return PixelFormat::native; }
  /// Of a display that was listed last.
  Result<std::shared_ptr<CaptureStream>> makeStream(DisplayID display,
                                                    const CaptureConfiguration& configuration,
                                                    std::shared_ptr<SerialQueue> sampleQueue,
                                                    CaptureStream::Handlers handlers) override;

 private:
  struct Listed;
  const std::shared_ptr<Listed> listed_;  // an answer may come after this is gone
};

}  // namespace tevanto
