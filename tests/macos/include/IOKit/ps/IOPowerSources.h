#pragma once

#include <CoreFoundation/CoreFoundation.h>

extern "C" {
CFTypeRef IOPSCopyPowerSourcesInfo(void) SINCE(10.2, "IOPSCopyPowerSourcesInfo()");
CFArrayRef IOPSCopyPowerSourcesList(CFTypeRef blob) SINCE(10.2, "IOPSCopyPowerSourcesList(_:)");
CFDictionaryRef IOPSGetPowerSourceDescription(CFTypeRef blob, CFTypeRef ps) SINCE(10.2, "IOPSGetPowerSourceDescription(_:_:)");
}
