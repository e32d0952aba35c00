#include "platform/macos/screen/ScreenCaptureKitSource.h"

#import <CoreGraphics/CoreGraphics.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <mutex>
#include <utility>

#include "platform/macos/foundation/SystemError.h"
#include "platform/macos/screen/ScreenCaptureKitStream.h"

namespace tevanto {
namespace {

std::vector<ShareableDisplay> shareable(NSArray<SCDisplay*>* displays) {
  std::vector<ShareableDisplay> result;
  for (SCDisplay* display in displays) {
    result.push_back({.id = display.displayID,
                      .width = display.width,
                      .height = display.height,
                      .isMain = display.displayID == CGMainDisplayID()});
  }
  return result;
}

}  // namespace

struct ScreenCaptureKitSource::Core {
  std::mutex mutex;
  NSArray<SCDisplay*>* displays = nil;

  void keep(NSArray<SCDisplay*>* found) {
    const std::lock_guard lock(mutex);
    displays = found;
  }
  SCDisplay* display(DisplayID id) {
    const std::lock_guard lock(mutex);
    for (SCDisplay* display in displays) {
      if (display.displayID == id) return display;
    }
    return nil;
  }
};

ScreenCaptureKitSource::ScreenCaptureKitSource() : core_(std::make_shared<Core>()) {}

ScreenCaptureKitSource::~ScreenCaptureKitSource() = default;

void ScreenCaptureKitSource::listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) {
  @autoreleasepool {
    const auto listed = core_;
    [SCShareableContent
        getShareableContentExcludingDesktopWindows:NO
                               onScreenWindowsOnly:NO
                                 completionHandler:^(SCShareableContent* content, NSError* error) {
                                   if (!content)
                                     return done(failureOf("The displays cannot be listed", error));
                                   listed->keep(content.displays);
                                   done(shareable(content.displays));
                                 }];
  }
}

Result<std::shared_ptr<CaptureStream>> ScreenCaptureKitSource::makeStream(
    DisplayID display, const CaptureConfiguration& configuration, std::shared_ptr<SerialQueue> sampleQueue,
    CaptureStream::Handlers handlers) {
  if (configuration.pixelFormat != PixelFormat::native)
    return Failure{"ScreenCaptureKit delivers buffers of its own."};
  SCDisplay* const target = core_->display(display);
  if (!target) return Failure{"There is no such display."};
  return ScreenCaptureKitStream::create(target, configuration, std::move(sampleQueue), std::move(handlers));
}

}  // namespace tevanto
