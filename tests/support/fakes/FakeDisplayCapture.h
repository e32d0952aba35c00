#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "screen/capture/DisplayCapture.h"
#include "screen/picture/PixelBufferPool.h"

namespace tevanto::test {

/// A picture without contents.
inline std::shared_ptr<const PixelBuffer> fakePicture(int width = 16, int height = 16) {
  return PixelBufferPool(PixelFormat::bgra, width, height, 1).acquire();
}

/// A stream that does what the test says.
class FakeCaptureStream final : public CaptureStream {
 public:
  FakeCaptureStream(DisplayID displayID, CaptureConfiguration asked, std::shared_ptr<SerialQueue> queue,
                    Handlers given)
      : display(displayID),
        configuration(std::move(asked)),
        sampleQueue(std::move(queue)),
        handlers(std::move(given)) {}

  void start(std::function<void(Result<void>)> done) override {
    ++starts;
    onStarted = std::move(done);
  }
  void stop(std::function<void(Result<void>)> done) override {
    ++stops;
    if (onStop) onStop();
    done(Failure{"stopping failed, and nobody minds"});
  }

  /// Delivers in the sample queue's next turn.
  void deliver(CaptureSample sample) {
    sampleQueue->async([handler = handlers.onSample, sample = std::move(sample)] { handler(sample); });
  }
  void deliverPicture(PresentationTime time, std::shared_ptr<const PixelBuffer> image = fakePicture()) {
    deliver({true, SampleType::screen, SampleStatus::complete, std::move(image), time});
  }

  const DisplayID display;
  const CaptureConfiguration configuration;
  const std::shared_ptr<SerialQueue> sampleQueue;
  const Handlers handlers;
  std::function<void(Result<void>)> onStarted;
  std::function<void()> onStop;
  int starts = 0;
  int stops = 0;
};

/// Displays without a display server. Answers at once, unless the test holds the answers back.
class FakeDisplayCapture final : public DisplayCapture {
 public:
  void listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) override {
    ++lists;
    if (holdsList) {
      heldList = std::move(done);
    } else {
      done(answer());
    }
  }
  PixelFormat preferredFormat() const override { return format; }
  Result<std::shared_ptr<CaptureStream>> makeStream(DisplayID display,
                                                    const CaptureConfiguration& configuration,
                                                    std::shared_ptr<SerialQueue> sampleQueue,
                                                    CaptureStream::Handlers handlers) override {
    if (streamFailure) return Failure{*streamFailure};
    streams.push_back(std::make_shared<FakeCaptureStream>(display, configuration, std::move(sampleQueue),
                                                          std::move(handlers)));
    if (onMakeStream) onMakeStream();
    return std::shared_ptr<CaptureStream>(streams.back());
  }

  Result<std::vector<ShareableDisplay>> answer() const {
    if (listFailure) return Failure{*listFailure};
    return displays;
  }

  std::vector<ShareableDisplay> displays{{1, 1920, 1080, true}};
  std::optional<std::string> listFailure;
  std::optional<std::string> streamFailure;
  PixelFormat format = PixelFormat::bgra;
  bool holdsList = false;
  std::function<void(Result<std::vector<ShareableDisplay>>)> heldList;
  std::function<void()> onMakeStream;
  std::vector<std::shared_ptr<FakeCaptureStream>> streams;
  int lists = 0;
};

}  // namespace tevanto::test
