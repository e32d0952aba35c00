#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef int IOReturn SINCE(10.0, "IOReturn");
typedef uint32_t IOPMAssertionID SINCE(10.5, "IOPMAssertionID");
typedef uint32_t IOPMAssertionLevel SINCE(10.5, "IOPMAssertionLevel");
enum {
  kIOPMNullAssertionID SINCE(10.5, "kIOPMNullAssertionID") = 0,
  kIOPMAssertionLevelOn SINCE(10.5, "kIOPMAssertionLevelOn") = 255,
};

extern "C" {
IOReturn IOPMAssertionCreateWithName(CFStringRef AssertionType, IOPMAssertionLevel AssertionLevel, CFStringRef AssertionName, IOPMAssertionID* AssertionID) SINCE(10.6, "IOPMAssertionCreateWithName");
IOReturn IOPMAssertionRelease(IOPMAssertionID AssertionID) SINCE(10.5, "IOPMAssertionRelease");
}
