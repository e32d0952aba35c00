// The X11 displays, and the fake that stands in for them.

#include "screen/picture/PixelBufferPool.h"
#include "tests/platform/contracts/DisplayCaptureContract.h"
#include "tests/platform/linux/x11/capture/CaptureOnXvfb.h"
#include "tests/support/fakes/FakeDisplayCapture.h"

namespace tevanto::test {
namespace {

class X11Stage final : public CaptureStage {
 public:
  DisplayCapture& subject() override { return capture_; }
  void change() override { client_->fill({0, 0, 640, 400}, ++color_ * 0x1020); }
  void breakDown() override {
    client_.reset();
    server_.kill();
  }

 private:
  XvfbServer server_{"640x400x24"};
  std::unique_ptr<DrawingXClient> client_ = std::make_unique<DrawingXClient>(server_.display());
  X11DisplayCapture capture_{server_.display()};
  std::uint32_t color_ = 0;
};

class FakeStage final : public CaptureStage {
 public:
  DisplayCapture& subject() override { return capture_; }
  void change() override {
    auto& stream = *capture_.streams.back();
    if (stream.onStarted) std::exchange(stream.onStarted, nullptr)({});
    const auto& asked = stream.configuration;
    PixelBufferPool pool(asked.pixelFormat, static_cast<int>(asked.width), static_cast<int>(asked.height), 1);
    stream.deliverPicture(time_ += std::chrono::seconds(1), pool.acquire());
  }
  void breakDown() override { capture_.listFailure = "broken down"; }

 private:
  FakeDisplayCapture capture_;
  PresentationTime time_{0};
};

const auto kImplementations =
    testing::Values(CaptureImplementation{"X11", [] { return std::make_unique<X11Stage>(); }},
                    CaptureImplementation{"fake", [] { return std::make_unique<FakeStage>(); }});

INSTANTIATE_TEST_SUITE_P(Displays, DisplayCaptureContract, kImplementations);
INSTANTIATE_TEST_SUITE_P(Displays, DisplayCaptureBreakdown, kImplementations);

}  // namespace
}  // namespace tevanto::test
