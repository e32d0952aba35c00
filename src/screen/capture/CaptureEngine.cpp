#include "screen/capture/CaptureEngine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "core/Precondition.h"

namespace tevanto {
namespace {

constexpr int kQueueDepth = 5;

std::int64_t even(std::int64_t side) { return side & ~std::int64_t{1}; }

std::chrono::nanoseconds frameInterval(std::int64_t fps) {
  precondition(fps > 0 && fps <= std::numeric_limits<std::int32_t>::max(),
               "frames per second outside of what a time scale can hold");
  return std::chrono::nanoseconds((1'000'000'000 + fps / 2) / fps);
}

}  // namespace

OutputSize scaledSize(std::int64_t width, std::int64_t height, std::int64_t longSide) {
  if (width < 1 || height < 1) return {longSide, longSide};
  const double aspect = static_cast<double>(width) / static_cast<double>(height);
  OutputSize size;
  if (width >= height) {
    size.width = std::min(longSide, width);
    size.height = std::llround(static_cast<double>(size.width) / aspect);
  } else {
    size.height = std::min(longSide, height);
    size.width = std::llround(aspect * static_cast<double>(size.height));
  }
  return {even(size.width), even(size.height)};
}

CaptureEngine::CaptureEngine(DisplayCapture& displays, std::int64_t longSide, std::int64_t fps,
                             std::shared_ptr<SerialQueue> queue)
    : QueueBound(std::move(queue)),
      displays_(displays),
      longSide_(longSide),
      frameInterval_(frameInterval(fps)) {}

CaptureEngine::~CaptureEngine() { stop(); }

void CaptureEngine::setPixelBufferHandler(PixelBufferHandler handler) {
  const std::lock_guard lock(callbackLock_);
  pixelBufferHandler_.swap(handler);
}

void CaptureEngine::setErrorHandler(ErrorHandler handler) {
  const std::lock_guard lock(callbackLock_);
  errorHandler_.swap(handler);
}

void CaptureEngine::setStartedHandler(StartedHandler handler) {
  const std::lock_guard lock(callbackLock_);
  startedHandler_.swap(handler);
}

void CaptureEngine::start() { post(&CaptureEngine::listDisplays); }

void CaptureEngine::listDisplays() {
  assertOnQueue();
  if (!isStopped()) displays_.listDisplays(weakCall(&CaptureEngine::startWith));
}

void CaptureEngine::startWith(Result<std::vector<ShareableDisplay>> displays) {
  if (!displays) return captureStarted(Failure{displays.error()});
  const auto& list = displays.value();
  if (list.empty()) return reportError("No display to capture");
  const auto main =
      std::find_if(list.begin(), list.end(), [](const auto& display) { return display.isMain; });
  startCapture(main == list.end() ? list.front() : *main);
}

void CaptureEngine::startCapture(const ShareableDisplay& display) {
  outSize_ = scaledSize(display.width, display.height, longSide_);
  auto stream = makeStream(display);
  if (!stream) return captureStarted(Failure{stream.error()});
  // Stopped meanwhile: the stream was never started, and goes.
  if (!keep(stream.value())) return;
  stream.value()->start(weakCall(&CaptureEngine::captureStarted));
}

Result<std::shared_ptr<CaptureStream>> CaptureEngine::makeStream(const ShareableDisplay& display) {
  const CaptureConfiguration configuration{
      outSize_.width, outSize_.height, frameInterval_, displays_.preferredFormat(), kQueueDepth, true};
  CaptureStream::Handlers handlers;
  handlers.onSample = weakCall(&CaptureEngine::handleSample);
  handlers.onStopped = weakCall(
      [](CaptureEngine& self, const std::string& /*reason*/) { self.reportError("Screen capture stopped"); });
  return displays_.makeStream(display.id, configuration, queue(), std::move(handlers));
}

bool CaptureEngine::keep(const std::shared_ptr<CaptureStream>& stream) {
  const std::lock_guard lock(lifecycleLock_);
  if (stopped_) return false;
  stream_ = stream;
  return true;
}

// What really failed is not shown: a missing permission is by far the usual cause, and all the user can mend.
void CaptureEngine::captureStarted(const Result<void>& result) {
  if (!result) return reportError("Screen recording permission needed");
  StartedHandler handler;
  {
    const std::lock_guard lock(callbackLock_);
    handler = startedHandler_;
  }
  if (handler) handler();
}

void CaptureEngine::handleSample(const CaptureSample& sample) {
  if (!sample.isValid || sample.type != SampleType::screen) return;
  if (sample.status != SampleStatus::complete || !sample.image) return;
  const Frame frame{sample.image, sample.presentationTime, outSize_.width, outSize_.height};
  {
    const std::lock_guard lock(frameLock_);
    latestFrame_ = frame;
  }
  deliver(frame);
}

void CaptureEngine::requestRefresh() { post(&CaptureEngine::refresh); }

void CaptureEngine::refresh() {
  Frame frame;
  {
    const std::lock_guard lock(frameLock_);
    if (!latestFrame_) return;
    latestFrame_->time += frameInterval_;
    frame = *latestFrame_;
  }
  deliver(frame);
}

void CaptureEngine::deliver(const Frame& frame) {
  PixelBufferHandler handler;
  {
    const std::lock_guard lock(callbackLock_);
    handler = pixelBufferHandler_;
  }
  if (handler) handler(frame.pixelBuffer, frame.time, frame.width, frame.height);
}

void CaptureEngine::stop() {
  std::shared_ptr<CaptureStream> stream;
  {
    const std::lock_guard lock(lifecycleLock_);
    stopped_ = true;
    stream.swap(stream_);
  }
  if (stream) stream->stop([](const Result<void>&) {});
  setPixelBufferHandler(nullptr);
  setErrorHandler(nullptr);
  setStartedHandler(nullptr);
  std::optional<Frame> latest;
  const std::lock_guard lock(frameLock_);
  latest.swap(latestFrame_);
}

void CaptureEngine::reportError(const std::string& message) {
  if (isStopped()) return;
  ErrorHandler handler;
  {
    const std::lock_guard lock(callbackLock_);
    handler = errorHandler_;
  }
  if (handler) handler(message);
}

bool CaptureEngine::isStopped() {
  const std::lock_guard lock(lifecycleLock_);
  return stopped_;
}

}  // namespace tevanto
