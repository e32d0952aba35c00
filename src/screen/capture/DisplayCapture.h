#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Result.h"
#include "core/queue/SerialQueue.h"
#include "screen/picture/PixelBuffer.h"

namespace tevanto {

/// DisplayID is the number of a display in the system.
using DisplayID = std::uint32_t;

/// ShareableDisplay is a display that can be captured; its size is in pixels.
struct ShareableDisplay {
  DisplayID id = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;
  bool isMain = false;

  bool operator==(const ShareableDisplay&) const = default;
};

/// CaptureConfiguration describes the pictures of a stream. Width and height are in pixels.
struct CaptureConfiguration {
  std::int64_t width = 0;  // of the delivered pictures: the display is scaled to it
  std::int64_t height = 0;
  std::chrono::nanoseconds minimumFrameInterval{0};
  PixelFormat pixelFormat = PixelFormat::bgra;
  int queueDepth = 5;  // the most pictures that may be in use at a time, the consumer's included
  bool showsCursor = true;

  bool operator==(const CaptureConfiguration&) const = default;
};

/// SampleType is the kind of a sample. Only samples of the screen are used.
enum class SampleType { screen, audio };
/// SampleStatus is the state of a frame. Only a complete one has a new picture.
enum class SampleStatus { complete, idle, blank, suspended };

/// CaptureSample is what a stream delivers. Only a valid, complete screen sample carries a picture.
struct CaptureSample {
  bool isValid = true;
  SampleType type = SampleType::screen;
  std::optional<SampleStatus> status;
  std::shared_ptr<const PixelBuffer> image;
  PresentationTime presentationTime{0};
};

/// CaptureStream is one running capture of one display. It is driven by events: while neither the picture nor
/// the pointer changes, nothing runs and nothing is called.
///
/// - The first sample after the start is the whole display.
/// - The first change after rest is delivered at once, later ones at most once per `minimumFrameInterval`.
/// - The last change of a burst is always delivered.
///
/// Thread-safe; it may be called and destroyed within a callback too.
class CaptureStream {
 public:
  /// Handlers holds the callbacks of a stream.
  struct Handlers {
    std::function<void(const CaptureSample&)> onSample;  // on the sample queue
    std::function<void(const std::string& reason)>
        onStopped;  // the system ended it; any thread, at most once
  };

  virtual ~CaptureStream() = default;
  /// Once. `done` comes on any thread, before or after the first sample.
  virtual void start(std::function<void(Result<void>)> done) = 0;
  /// For good: ends the capture and releases the display's resources. May be called from a handler, before
  /// `start` and twice. A sample under way may still arrive. `done` comes on any thread.
  virtual void stop(std::function<void(Result<void>)> done) = 0;
};

/// DisplayCapture lists the displays of this computer and captures them. It holds none of the display's
/// resources while no stream exists.
/// Thread-safe.
class DisplayCapture {
 public:
  virtual ~DisplayCapture() = default;

  /// `done` comes on any thread, also within the call. A failure means that displays cannot be captured.
  virtual void listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) = 0;
  /// The format in which pictures cost least on this system.
  virtual PixelFormat preferredFormat() const = 0;
  /// A stream that is not started yet, of a display that was listed. A display that changes its size while
  /// captured goes on, scaled into the configured size; when it goes away the main display takes its place
  /// where the system can do that; otherwise, and when none is left, the stream is stopped.
  virtual Result<std::shared_ptr<CaptureStream>> makeStream(DisplayID display,
                                                            const CaptureConfiguration& configuration,
                                                            std::shared_ptr<SerialQueue> sampleQueue,
                                                            CaptureStream::Handlers handlers) = 0;
};

}  // namespace tevanto
