#pragma once

#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <memory>

#include "screen/capture/DisplayCapture.h"

namespace tevanto {

/// ScreenCaptureKitStream is one capture of one display by an SCStream. Its samples arrive on a dispatch
/// queue of its own and go on to the sample queue. Samples without a change are dropped here.
class ScreenCaptureKitStream final : public CaptureStream {
 public:
  static Result<std::shared_ptr<CaptureStream>> create(SCDisplay* display,
                                                       const CaptureConfiguration& configuration,
                                                       std::shared_ptr<SerialQueue> sampleQueue,
                                                       Handlers handlers);
  ScreenCaptureKitStream(SCStream* stream, id output);
  ~ScreenCaptureKitStream() override;

  void start(std::function<void(Result<void>)> done) override;
  void stop(std::function<void(Result<void>)> done) override;

 private:
  SCStream* const stream_;
  const id output_;  // held: the stream does not hold its delegate
};

}  // namespace tevanto
