#include "platform/linux/x11/capture/X11DisplayCapture.h"

#include <utility>

#include "platform/linux/x11/capture/X11CaptureSession.h"
#include "platform/linux/x11/capture/XCaptureConnection.h"

namespace tevanto {
namespace {

// The handle that the consumer holds: the capture ends with it.
class X11CaptureStream final : public CaptureStream {
 public:
  explicit X11CaptureStream(std::shared_ptr<X11CaptureSession> session) : session_(std::move(session)) {}
  ~X11CaptureStream() override {
    session_->stop([](const Result<void>&) {});
  }

  void start(std::function<void(Result<void>)> done) override { session_->start(std::move(done)); }
  void stop(std::function<void(Result<void>)> done) override { session_->stop(std::move(done)); }

 private:
  const std::shared_ptr<X11CaptureSession> session_;
};

bool isSide(std::int64_t length) { return length >= 2 && length <= 16384 && length % 2 == 0; }

}  // namespace

X11DisplayCapture::X11DisplayCapture(std::string displayName) : displayName_(std::move(displayName)) {}

void X11DisplayCapture::listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) {
  const auto screen = XCaptureConnection::connect(displayName_);
  if (!screen) return done(Failure{screen.error()});
  std::vector<ShareableDisplay> displays;
  for (const auto& monitor : screen.value()->monitors()) displays.push_back(monitor.display);
  if (screen.value()->broken()) return done(Failure{"The X server is gone."});
  done(std::move(displays));
}

Result<std::shared_ptr<CaptureStream>> X11DisplayCapture::makeStream(
    DisplayID display, const CaptureConfiguration& configuration, std::shared_ptr<SerialQueue> sampleQueue,
    CaptureStream::Handlers handlers) {
  if (configuration.pixelFormat == PixelFormat::native) return Failure{"X11 has no buffers of its own."};
  if (!isSide(configuration.width) || !isSide(configuration.height)) {
    return Failure{"A picture's sides are even, and from 2 to 16384 pixels."};
  }
  auto session = std::make_shared<X11CaptureSession>(displayName_, display, configuration,
                                                     std::move(sampleQueue), std::move(handlers));
  return std::shared_ptr<CaptureStream>(std::make_shared<X11CaptureStream>(std::move(session)));
}

}  // namespace tevanto
