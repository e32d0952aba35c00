#pragma once

#include <CoreFoundation/CoreFoundation.h>

// "Quartz Display Services": whether the screen may be captured.

typedef uint32_t CGDirectDisplayID SINCE(10.0, "CGDirectDisplayID");

extern "C" {
CGDirectDisplayID CGMainDisplayID(void) SINCE(10.2, "CGMainDisplayID()");
bool CGPreflightScreenCaptureAccess(void) SINCE(10.15, "CGPreflightScreenCaptureAccess()");
bool CGRequestScreenCaptureAccess(void) SINCE(10.15, "CGRequestScreenCaptureAccess()");
}
