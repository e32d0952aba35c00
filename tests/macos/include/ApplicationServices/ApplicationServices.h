#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

// "AXUIElement.h"

extern "C" {
Boolean AXIsProcessTrusted(void) SINCE(10.4, "AXIsProcessTrusted()");
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options) SINCE(10.9, "AXIsProcessTrustedWithOptions(_:)");
extern CFStringRef kAXTrustedCheckOptionPrompt SINCE(10.9, "kAXTrustedCheckOptionPrompt");
}
