#pragma once

#include <CoreMedia/CoreMedia.h>

// "Video Toolbox": compression sessions.

typedef struct OpaqueVTCompressionSession* VTCompressionSessionRef SINCE(10.8, "VTCompressionSession");
typedef uint32_t VTEncodeInfoFlags SINCE(10.8, "VTEncodeInfoFlags");
typedef void (*VTCompressionOutputCallback)(void* outputCallbackRefCon, void* sourceFrameRefCon, OSStatus status, VTEncodeInfoFlags infoFlags, CMSampleBufferRef sampleBuffer) SINCE(10.8, "VTCompressionOutputCallback");
typedef void (^VTCompressionOutputHandler)(OSStatus status, VTEncodeInfoFlags infoFlags, CMSampleBufferRef sampleBuffer) SINCE(10.11, "VTCompressionOutputHandler");

extern "C" {
extern const CFStringRef kVTCompressionPropertyKey_RealTime SINCE(10.8, "kVTCompressionPropertyKey_RealTime");
extern const CFStringRef kVTCompressionPropertyKey_ProfileLevel SINCE(10.8, "kVTCompressionPropertyKey_ProfileLevel");
extern const CFStringRef kVTCompressionPropertyKey_AllowFrameReordering SINCE(10.8, "kVTCompressionPropertyKey_AllowFrameReordering");
extern const CFStringRef kVTCompressionPropertyKey_MaxKeyFrameInterval SINCE(10.8, "kVTCompressionPropertyKey_MaxKeyFrameInterval");
extern const CFStringRef kVTCompressionPropertyKey_MaxKeyFrameIntervalDuration SINCE(10.8, "kVTCompressionPropertyKey_MaxKeyFrameIntervalDuration");
extern const CFStringRef kVTCompressionPropertyKey_AverageBitRate SINCE(10.8, "kVTCompressionPropertyKey_AverageBitRate");
extern const CFStringRef kVTCompressionPropertyKey_DataRateLimits SINCE(10.8, "kVTCompressionPropertyKey_DataRateLimits");
extern const CFStringRef kVTCompressionPropertyKey_ExpectedFrameRate SINCE(10.8, "kVTCompressionPropertyKey_ExpectedFrameRate");
extern const CFStringRef kVTProfileLevel_H264_Main_AutoLevel SINCE(10.8, "kVTProfileLevel_H264_Main_AutoLevel");
extern const CFStringRef kVTEncodeFrameOptionKey_ForceKeyFrame SINCE(10.8, "kVTEncodeFrameOptionKey_ForceKeyFrame");

OSStatus VTCompressionSessionCreate(CFAllocatorRef allocator, int32_t width, int32_t height, CMVideoCodecType codecType, CFDictionaryRef encoderSpecification, CFDictionaryRef sourceImageBufferAttributes, CFAllocatorRef compressedDataAllocator, VTCompressionOutputCallback outputCallback, void* outputCallbackRefCon, VTCompressionSessionRef* compressionSessionOut) SINCE(10.8, "VTCompressionSessionCreate(allocator:width:height:codecType:encoderSpecification:imageBufferAttributes:compressedDataAllocator:outputCallback:refcon:compressionSessionOut:)");
OSStatus VTSessionSetProperty(CFTypeRef session, CFStringRef propertyKey, CFTypeRef propertyValue) SINCE(10.8, "VTSessionSetProperty(_:key:value:)");
OSStatus VTCompressionSessionPrepareToEncodeFrames(VTCompressionSessionRef session) SINCE(10.9, "VTCompressionSessionPrepareToEncodeFrames(_:)");
OSStatus VTCompressionSessionEncodeFrameWithOutputHandler(VTCompressionSessionRef session, CVImageBufferRef imageBuffer, CMTime presentationTimeStamp, CMTime duration, CFDictionaryRef frameProperties, VTEncodeInfoFlags* infoFlagsOut, VTCompressionOutputHandler outputHandler) SINCE(10.11, "VTCompressionSessionEncodeFrame(_:imageBuffer:presentationTimeStamp:duration:frameProperties:infoFlagsOut:outputHandler:)");
void VTCompressionSessionInvalidate(VTCompressionSessionRef session) SINCE(10.8, "VTCompressionSessionInvalidate(_:)");
}
