#include "platform/macos/screen/VideoToolboxSession.h"

#import <Foundation/Foundation.h>
#import <dispatch/dispatch.h>

#include <utility>
#include <vector>

#include "platform/macos/screen/CoreMediaTime.h"
#include "platform/macos/values/system/CompressionValues.h"

namespace tevanto {
namespace {

CFStringRef keyOf(EncoderProperty property) {
  switch (property) {
    case EncoderProperty::realTime:
      return kVTCompressionPropertyKey_RealTime;
    case EncoderProperty::profileLevel:
      return kVTCompressionPropertyKey_ProfileLevel;
    case EncoderProperty::allowFrameReordering:
      return kVTCompressionPropertyKey_AllowFrameReordering;
    case EncoderProperty::maxKeyFrameInterval:
      return kVTCompressionPropertyKey_MaxKeyFrameInterval;
    case EncoderProperty::maxKeyFrameIntervalDuration:
      return kVTCompressionPropertyKey_MaxKeyFrameIntervalDuration;
    case EncoderProperty::averageBitRate:
      return kVTCompressionPropertyKey_AverageBitRate;
    case EncoderProperty::dataRateLimits:
      return kVTCompressionPropertyKey_DataRateLimits;
    case EncoderProperty::expectedFrameRate:
      return kVTCompressionPropertyKey_ExpectedFrameRate;
  }
  return nullptr;
}

struct PropertyList {
  id operator()(bool value) const { return @(value); }
  id operator()(std::int64_t value) const { return @(value); }
  id operator()(const std::array<std::int64_t, 2>& values) const { return @[ @(values[0]), @(values[1]) ]; }
  id operator()(EncoderProfileLevel) const { return (__bridge NSString*)kVTProfileLevel_H264_Main_AutoLevel; }
};

std::optional<EncodedSample::Attachments> attachmentsOf(CMSampleBufferRef buffer) {
  const CFArrayRef list = CMSampleBufferGetSampleAttachmentsArray(buffer, false);
  if (!list || CFArrayGetCount(list) == 0) return std::nullopt;
  const auto first = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(list, 0));
  const void* const notSync = CFDictionaryGetValue(first, kCMSampleAttachmentKey_NotSync);
  if (!notSync) return EncodedSample::Attachments{};
  return EncodedSample::Attachments{CFBooleanGetValue(static_cast<CFBooleanRef>(notSync)) != 0};
}

std::optional<std::span<const std::byte>> parameterSet(CMFormatDescriptionRef format, std::size_t index) {
  const std::uint8_t* bytes = nullptr;
  std::size_t size = 0;
  const OSStatus status =
      CMVideoFormatDescriptionGetH264ParameterSetAtIndex(format, index, &bytes, &size, nullptr, nullptr);
  if (status != noErr || !bytes) return std::nullopt;
  return std::as_bytes(std::span(bytes, size));
}

std::optional<std::vector<std::byte>> dataOf(CMSampleBufferRef buffer) {
  const CMBlockBufferRef block = CMSampleBufferGetDataBuffer(buffer);
  if (!block) return std::nullopt;
  std::vector<std::byte> bytes(CMBlockBufferGetDataLength(block));
  if (bytes.empty()) return std::nullopt;
  if (CMBlockBufferCopyDataBytes(block, 0, bytes.size(), bytes.data()) != noErr) return std::nullopt;
  return bytes;
}

void putOut(CMSampleBufferRef buffer, const EncoderSession::OutputHandler& output) {
  EncodedSample sample;
  sample.attachments = attachmentsOf(buffer);
  if (const CMFormatDescriptionRef format = CMSampleBufferGetFormatDescription(buffer)) {
    const auto sets = parameterSetsOf([&](std::size_t index) { return parameterSet(format, index); });
    sample.sps = sets.sps;
    sample.pps = sets.pps;
  }
  const auto data = dataOf(buffer);
  if (data) sample.data = *data;
  output(EncodeStatus::success, &sample);
}

}  // namespace

VideoToolboxSession::VideoToolboxSession(CfOwned<VTCompressionSessionRef> session)
    : session_(std::move(session)) {}

VideoToolboxSession::~VideoToolboxSession() { invalidate(); }

CfOwned<VTCompressionSessionRef> VideoToolboxSession::session() const {
  const std::lock_guard lock(mutex_);
  return session_;
}

Result<void> VideoToolboxSession::setProperty(EncoderProperty property, const EncoderPropertyValue& value) {
  const auto translated = compressionValue(property, value);
  if (!translated) return Failure{translated.error()};
  const auto session = this->session();
  if (!session) return Failure{"The session has ended."};
  @autoreleasepool {
    const id object = std::visit(PropertyList(), translated.value());
    const OSStatus status = VTSessionSetProperty(session.get(), keyOf(property), (__bridge CFTypeRef)object);
    if (status == noErr) return {};
    return Failure{"VideoToolbox refuses the property (" + std::to_string(status) + ")."};
  }
}

void VideoToolboxSession::prepareToEncodeFrames() {
  if (const auto session = this->session()) VTCompressionSessionPrepareToEncodeFrames(session.get());
}

void VideoToolboxSession::encodeFrame(std::shared_ptr<const PixelBuffer> picture,
                                      PresentationTime presentationTime,
                                      const EncodeFrameProperties& properties, OutputHandler output) {
  const auto session = this->session();
  if (!session) return;
  const auto image = picture ? static_cast<CVPixelBufferRef>(picture->nativeHandle()) : nullptr;
  if (!image) return output(EncodeStatus::failure, nullptr);
  const auto owesKeyFrame = owesKeyFrame_;
  const bool isForced = owesKeyFrame->exchange(false) || properties.forceKeyFrame;
  @autoreleasepool {
    NSDictionary* const options = isForced
                                      ? @{(__bridge NSString*)kVTEncodeFrameOptionKey_ForceKeyFrame : @YES}
                                      : nil;
    const OSStatus taken = VTCompressionSessionEncodeFrameWithOutputHandler(
        session.get(), image, coreMediaTime(mediaTimeOf(presentationTime)), kCMTimeInvalid,
        (__bridge CFDictionaryRef)options, nullptr,
        ^(OSStatus status, VTEncodeInfoFlags, CMSampleBufferRef buffer) {
          if (isForced && (status != noErr || !buffer)) *owesKeyFrame = true;
          if (status != noErr) return output(EncodeStatus::failure, nullptr);
          if (!buffer) return output(EncodeStatus::success, nullptr);
          putOut(buffer, output);
        });
    // Then nothing is put out.
    if (isForced && taken != noErr) *owesKeyFrame = true;
  }
}

void VideoToolboxSession::invalidate() {
  CfOwned<VTCompressionSessionRef> ended;
  {
    const std::lock_guard lock(mutex_);
    std::swap(ended, session_);
  }
  if (!ended) return;
  // Elsewhere: the call may wait for pictures under way, and this may be the thread that puts them out.
  dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
    VTCompressionSessionInvalidate(ended.get());
  });
}

}  // namespace tevanto
