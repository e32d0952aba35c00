#include "platform/macos/screen/ScreenCaptureKitStream.h"

#import <CoreMedia/CoreMedia.h>
#import <dispatch/dispatch.h>

#include <atomic>
#include <utility>

#include "platform/macos/foundation/SystemError.h"
#include "platform/macos/screen/CoreMediaTime.h"
#include "platform/macos/screen/CoreVideoPixelBuffer.h"
#include "platform/macos/values/system/CaptureValues.h"

static_assert(tevanto::kCapturePixelFormat == kCVPixelFormatType_32BGRA);
static_assert(static_cast<int>(SCFrameStatusComplete) == 0 && static_cast<int>(SCFrameStatusSuspended) == 3,
              "sampleStatusOf knows these numbers");

namespace tevanto {
namespace {

std::optional<std::int64_t> frameStatusOf(CMSampleBufferRef buffer) {
  const CFArrayRef attachments = CMSampleBufferGetSampleAttachmentsArray(buffer, false);
  if (!attachments || CFArrayGetCount(attachments) == 0) return std::nullopt;
  NSDictionary* const first =
      (__bridge NSDictionary*)static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(attachments, 0));
  const id status = first[SCStreamFrameInfoStatus];
  if (![status isKindOfClass:[NSNumber class]]) return std::nullopt;
  return [(NSNumber*)status integerValue];
}

CaptureSample sampleOf(CMSampleBufferRef buffer, SCStreamOutputType type) {
  CaptureSample sample;
  sample.isValid = CMSampleBufferIsValid(buffer);
  sample.type = type == SCStreamOutputTypeScreen ? SampleType::screen : SampleType::audio;
  if (!sample.isValid) return sample;
  sample.status = sampleStatusOf(frameStatusOf(buffer));
  if (const CVImageBufferRef image = CMSampleBufferGetImageBuffer(buffer))
    sample.image = CoreVideoPixelBuffer::of(image);
  const auto time = presentationTimeOf(CMSampleBufferGetPresentationTimeStamp(buffer));
  sample.isValid = time.has_value();
  sample.presentationTime = time.value_or(PresentationTime(0));
  return sample;
}

/// Passes the samples and the end of a stream on to its handlers.
class SampleForwarder {
 public:
  SampleForwarder(std::shared_ptr<SerialQueue> queue, CaptureStream::Handlers handlers)
      : queue_(std::move(queue)), handlers_(std::move(handlers)) {}

  void forward(CMSampleBufferRef buffer, SCStreamOutputType type) const {
    auto sample = sampleOf(buffer, type);
    if (sample.status == SampleStatus::idle || !handlers_.onSample) return;
    queue_->async([onSample = handlers_.onSample, sample = std::move(sample)] { onSample(sample); });
  }
  void stopped(NSError* error) {
    if (hasStopped_.exchange(true) || !handlers_.onStopped) return;
    handlers_.onStopped(failureOf("The system stopped the capture", error).message);
  }

 private:
  const std::shared_ptr<SerialQueue> queue_;
  const CaptureStream::Handlers handlers_;
  std::atomic<bool> hasStopped_ = false;
};

SCStreamConfiguration* streamConfigurationOf(const CaptureConfiguration& configuration) {
  SCStreamConfiguration* const made = [[SCStreamConfiguration alloc] init];
  made.width = static_cast<std::size_t>(configuration.width);
  made.height = static_cast<std::size_t>(configuration.height);
  made.minimumFrameInterval = coreMediaTime(frameIntervalOf(configuration.minimumFrameInterval));
  made.pixelFormat = kCapturePixelFormat;
  made.queueDepth = configuration.queueDepth;
  made.showsCursor = configuration.showsCursor;
  return made;
}

}  // namespace
}  // namespace tevanto

@interface TevantoStreamOutput : NSObject <SCStreamOutput, SCStreamDelegate>
- (instancetype)initWithForwarder:(std::shared_ptr<tevanto::SampleForwarder>)forwarder;
@end

@implementation TevantoStreamOutput {
  std::shared_ptr<tevanto::SampleForwarder> _forwarder;
}

- (instancetype)initWithForwarder:(std::shared_ptr<tevanto::SampleForwarder>)forwarder {
  self = [super init];
  if (self) _forwarder = std::move(forwarder);
  return self;
}

- (void)stream:(SCStream*)stream
    didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer
                   ofType:(SCStreamOutputType)type {
  _forwarder->forward(sampleBuffer, type);
}

- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error {
  _forwarder->stopped(error);
}

@end

namespace tevanto {

Result<std::shared_ptr<CaptureStream>> ScreenCaptureKitStream::create(
    SCDisplay* display, const CaptureConfiguration& configuration, std::shared_ptr<SerialQueue> sampleQueue,
    Handlers handlers) {
  @autoreleasepool {
    const auto forwarder = std::make_shared<SampleForwarder>(std::move(sampleQueue), std::move(handlers));
    TevantoStreamOutput* const output = [[TevantoStreamOutput alloc] initWithForwarder:forwarder];
    SCContentFilter* const filter = [[SCContentFilter alloc] initWithDisplay:display excludingWindows:@[]];
    SCStream* const stream = [[SCStream alloc] initWithFilter:filter
                                                configuration:streamConfigurationOf(configuration)
                                                     delegate:output];
    NSError* error = nil;
    if (![stream addStreamOutput:output
                            type:SCStreamOutputTypeScreen
              sampleHandlerQueue:dispatch_queue_create("tevanto.screen.capture", DISPATCH_QUEUE_SERIAL)
                           error:&error])
      return failureOf("The display cannot be captured", error);
    return std::shared_ptr<CaptureStream>(std::make_shared<ScreenCaptureKitStream>(stream, output));
  }
}

ScreenCaptureKitStream::ScreenCaptureKitStream(SCStream* stream, id output)
    : stream_(stream), output_(output) {}

ScreenCaptureKitStream::~ScreenCaptureKitStream() {
  stop([](const Result<void>&) {});
}

void ScreenCaptureKitStream::start(std::function<void(Result<void>)> done) {
  @autoreleasepool {
    [stream_ startCaptureWithCompletionHandler:^(NSError* error) {
      done(resultOf("The capture does not start", error));
    }];
  }
}

void ScreenCaptureKitStream::stop(std::function<void(Result<void>)> done) {
  @autoreleasepool {
    // The stream and what it tells stay until the system is done with both.
    SCStream* const stream = stream_;
    const id output = output_;
    [stream stopCaptureWithCompletionHandler:^(NSError* error) {
      done(resultOf("The capture does not stop", error));
      static_cast<void>(stream);
      static_cast<void>(output);
    }];
  }
}

}  // namespace tevanto
