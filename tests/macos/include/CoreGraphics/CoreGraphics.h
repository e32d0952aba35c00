#pragma once

#include <CoreFoundation/CoreFoundation.h>

// "Quartz Display Services": whether the screen may be captured.

extern "C" {
bool CGPreflightScreenCaptureAccess(void) SINCE(10.15, "CGPreflightScreenCaptureAccess()");
bool CGRequestScreenCaptureAccess(void) SINCE(10.15, "CGRequestScreenCaptureAccess()");
}
