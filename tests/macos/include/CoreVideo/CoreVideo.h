#pragma once

#include <CoreFoundation/CoreFoundation.h>

// "Core Video": pixel buffers.

typedef struct __CVBuffer* CVBufferRef SINCE(10.4, "CVBuffer");
typedef CVBufferRef CVImageBufferRef SINCE(10.4, "CVImageBuffer");
typedef CVImageBufferRef CVPixelBufferRef SINCE(10.4, "CVPixelBuffer");
typedef uint64_t CVOptionFlags SINCE(10.4, "CVOptionFlags");
typedef CVOptionFlags CVPixelBufferLockFlags SINCE(10.4, "CVPixelBufferLockFlags");
typedef int32_t CVReturn SINCE(10.4, "CVReturn");
enum : OSType { kCVPixelFormatType_32BGRA SINCE(10.4, "kCVPixelFormatType_32BGRA") = 'BGRA' };

extern "C" {
CVReturn CVPixelBufferCreate(CFAllocatorRef allocator, size_t width, size_t height, OSType pixelFormatType, CFDictionaryRef pixelBufferAttributes, CVPixelBufferRef* pixelBufferOut) SINCE(10.4, "CVPixelBufferCreate(_:_:_:_:_:_:)");
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef pixelBuffer, CVPixelBufferLockFlags lockFlags) SINCE(10.4, "CVPixelBufferLockBaseAddress(_:_:)");
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef pixelBuffer, CVPixelBufferLockFlags unlockFlags) SINCE(10.4, "CVPixelBufferUnlockBaseAddress(_:_:)");
void* CVPixelBufferGetBaseAddress(CVPixelBufferRef pixelBuffer) SINCE(10.4, "CVPixelBufferGetBaseAddress(_:)");
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef pixelBuffer) SINCE(10.4, "CVPixelBufferGetBytesPerRow(_:)");
size_t CVPixelBufferGetWidth(CVPixelBufferRef pixelBuffer) SINCE(10.4, "CVPixelBufferGetWidth(_:)");
size_t CVPixelBufferGetHeight(CVPixelBufferRef pixelBuffer) SINCE(10.4, "CVPixelBufferGetHeight(_:)");
}
