#pragma once

#include <CoreFoundation/CoreFoundation.h>

// "Core Video": pixel buffers.

typedef struct __CVBuffer* CVBufferRef SINCE(10.4, "CVBuffer");
typedef CVBufferRef CVImageBufferRef SINCE(10.4, "CVImageBuffer");
typedef CVImageBufferRef CVPixelBufferRef SINCE(10.4, "CVPixelBuffer");
enum : OSType { kCVPixelFormatType_32BGRA SINCE(10.4, "kCVPixelFormatType_32BGRA") = 'BGRA' };

extern "C" {
size_t CVPixelBufferGetWidth(CVPixelBufferRef pixelBuffer) SINCE(10.4, "CVPixelBufferGetWidth(_:)");
size_t CVPixelBufferGetHeight(CVPixelBufferRef pixelBuffer) SINCE(10.4, "CVPixelBufferGetHeight(_:)");
}
