#pragma once

#include <CoreFoundation/CoreFoundation.h>

// "Security": what a process was signed with.

typedef struct __SecTask* SecTaskRef SINCE(10.7, "SecTask");

extern "C" {
SecTaskRef SecTaskCreateFromSelf(CFAllocatorRef allocator) SINCE(10.7, "SecTaskCreateFromSelf(_:)");
CFTypeRef SecTaskCopyValueForEntitlement(SecTaskRef task, CFStringRef entitlement, struct __CFError** error) SINCE(10.7, "SecTaskCopyValueForEntitlement(_:_:_:)");
}
