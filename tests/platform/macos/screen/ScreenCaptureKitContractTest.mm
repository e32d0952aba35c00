// The displays of this Mac. Needs a session with a display, and the permission to record the screen for the
// program that starts the test (System Settings > Privacy & Security > Screen Recording).

#import <CoreGraphics/CoreGraphics.h>

#include "platform/macos/screen/ScreenCaptureKitSource.h"
#include "tests/platform/contracts/DisplayCaptureContract.h"

namespace tevanto::test {
namespace {

/// The pointer is part of the picture: moving it changes the display without a window.
class ScreenCaptureKitStage final : public CaptureStage {
 public:
  DisplayCapture& subject() override { return capture_; }
  void change() override {
    isAside_ = !isAside_;
    CGWarpMouseCursorPosition({isAside_ ? 200.0 : 100.0, 100.0});
  }
  void breakDown() override { FAIL() << "a Mac's display is not the test's own"; }

 private:
  ScreenCaptureKitSource capture_;
  bool isAside_ = false;
};

INSTANTIATE_TEST_SUITE_P(Displays, DisplayCaptureContract,
                         testing::Values(CaptureImplementation{
                             "ScreenCaptureKit", [] { return std::make_unique<ScreenCaptureKitStage>(); }}));

}  // namespace

TEST(ScreenCaptureKitContract, makesNoStreamOfADisplayThatWasNotListed) {
  ScreenCaptureKitSource capture;
  const auto loop = EventLoop::background(1);
  EXPECT_FALSE(
      capture.makeStream(1, {64, 64, {}, PixelFormat::native, 5, true}, loop->makeQueue("capture"), {}));
}

TEST(ScreenCaptureKitContract, deliversNoOtherBuffersThanItsOwn) {
  ScreenCaptureKitSource capture;
  const auto loop = EventLoop::background(1);
  EXPECT_EQ(capture.preferredFormat(), PixelFormat::native);
  EXPECT_FALSE(
      capture.makeStream(1, {64, 64, {}, PixelFormat::bgra, 5, true}, loop->makeQueue("capture"), {}));
}

}  // namespace tevanto::test
