#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef const struct __attribute__((objc_bridge(id))) __SCDynamicStore* SCDynamicStoreRef SINCE(10.1, "SCDynamicStore");
typedef uint32_t CFStringEncoding SINCE(10.0, "CFStringEncoding");

extern "C" {
CFStringRef SCDynamicStoreCopyComputerName(SCDynamicStoreRef store, CFStringEncoding* nameEncoding) SINCE(10.1, "SCDynamicStoreCopyComputerName(_:_:)");
}
