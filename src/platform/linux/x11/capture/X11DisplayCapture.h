#pragma once

#include <string>

#include "screen/capture/DisplayCapture.h"

namespace tevanto {

/// X11DisplayCapture lists and captures the displays of an X server, by XCB with DAMAGE, XFIXES, MIT-SHM and
/// RandR. It opens a connection for each question and for each stream, and keeps nothing in between.
/// The sample queue of a stream has to be a queue of an event loop.
class X11DisplayCapture final : public DisplayCapture {
 public:
  /// An empty `displayName` means what DISPLAY says at the time.
  explicit X11DisplayCapture(std::string displayName = {});

  /// Blocks for a few round trips and answers within the call.
  void listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) override;
  PixelFormat preferredFormat() const override { return PixelFormat::i420; }
  Result<std::shared_ptr<CaptureStream>> makeStream(DisplayID display,
                                                    const CaptureConfiguration& configuration,
                                                    std::shared_ptr<SerialQueue> sampleQueue,
                                                    CaptureStream::Handlers handlers) override;

 private:
  const std::string displayName_;
};

}  // namespace tevanto
