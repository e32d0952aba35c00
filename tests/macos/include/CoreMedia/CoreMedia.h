#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreVideo/CoreVideo.h>

// "Core Media": times, sample buffers, block buffers, format descriptions.

typedef int64_t CMTimeValue SINCE(10.7, "CMTimeValue");
typedef int32_t CMTimeScale SINCE(10.7, "CMTimeScale");
typedef int64_t CMTimeEpoch SINCE(10.7, "CMTimeEpoch");
enum CMTimeFlags : uint32_t {  // SINCE(10.7, "CMTimeFlags")
  kCMTimeFlags_Valid = 1,
  kCMTimeFlags_ImpliedValueFlagsMask = 28
};
typedef struct {
  CMTimeValue value SINCE(10.7, "value");
  CMTimeScale timescale SINCE(10.7, "timescale");
  uint32_t flags SINCE(10.7, "flags");
  CMTimeEpoch epoch SINCE(10.7, "epoch");
} CMTime SINCE(10.7, "CMTime");
#define CMTIME_IS_NUMERIC(time) (((time).flags & (kCMTimeFlags_Valid | kCMTimeFlags_ImpliedValueFlagsMask)) == kCMTimeFlags_Valid)  // SINCE(10.7, "CMTIME_IS_NUMERIC")

typedef struct opaqueCMSampleBuffer* CMSampleBufferRef SINCE(10.7, "CMSampleBuffer");
typedef struct OpaqueCMBlockBuffer* CMBlockBufferRef SINCE(10.7, "CMBlockBuffer");
typedef const struct opaqueCMFormatDescription* CMFormatDescriptionRef SINCE(10.7, "CMFormatDescription");
typedef FourCharCode CMVideoCodecType SINCE(10.7, "CMVideoCodecType");
enum : CMVideoCodecType { kCMVideoCodecType_H264 SINCE(10.7, "kCMVideoCodecType_H264") = 'avc1' };

extern "C" {
extern const CMTime kCMTimeInvalid SINCE(10.7, "kCMTimeInvalid");
CMTime CMTimeMake(int64_t value, int32_t timescale) SINCE(10.7, "CMTimeMake(value:timescale:)");

extern const CFStringRef kCMSampleAttachmentKey_NotSync SINCE(10.7, "kCMSampleAttachmentKey_NotSync");
Boolean CMSampleBufferIsValid(CMSampleBufferRef sbuf) SINCE(10.7, "CMSampleBufferIsValid(_:)");
CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef sbuf, Boolean createIfNecessary) SINCE(10.7, "CMSampleBufferGetSampleAttachmentsArray(_:createIfNecessary:)");
CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sbuf) SINCE(10.7, "CMSampleBufferGetImageBuffer(_:)");
CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef sbuf) SINCE(10.7, "CMSampleBufferGetPresentationTimeStamp(_:)");
CMFormatDescriptionRef CMSampleBufferGetFormatDescription(CMSampleBufferRef sbuf) SINCE(10.7, "CMSampleBufferGetFormatDescription(_:)");
CMBlockBufferRef CMSampleBufferGetDataBuffer(CMSampleBufferRef sbuf) SINCE(10.7, "CMSampleBufferGetDataBuffer(_:)");

size_t CMBlockBufferGetDataLength(CMBlockBufferRef theBuffer) SINCE(10.7, "CMBlockBufferGetDataLength(_:)");
OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef theSourceBuffer, size_t offsetToData, size_t dataLength, void* destination) SINCE(10.7, "CMBlockBufferCopyDataBytes(_:atOffset:dataLength:destination:)");

OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(CMFormatDescriptionRef videoDesc, size_t parameterSetIndex, const uint8_t** parameterSetPointerOut, size_t* parameterSetSizeOut, size_t* parameterSetCountOut, int* NALUnitHeaderLengthOut) SINCE(10.9, "CMVideoFormatDescriptionGetH264ParameterSetAtIndex(_:parameterSetIndex:parameterSetPointerOut:parameterSetSizeOut:parameterSetCountOut:nalUnitHeaderLengthOut:)");
}
