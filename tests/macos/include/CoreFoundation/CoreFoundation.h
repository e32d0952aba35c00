#pragma once

#include <Since.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// "Core Foundation": types of the framework and what is done with them.

typedef unsigned char Boolean SINCE(10.0, "Boolean");
typedef long CFIndex SINCE(10.0, "CFIndex");
typedef int32_t OSStatus SINCE(10.0, "OSStatus");
typedef uint32_t FourCharCode SINCE(10.0, "FourCharCode");
typedef FourCharCode OSType SINCE(10.0, "OSType");
enum { noErr SINCE(10.0, "noErr") = 0 };

typedef const void* CFTypeRef SINCE(10.0, "CFTypeRef");
typedef const struct __CFAllocator* CFAllocatorRef SINCE(10.0, "CFAllocator");
typedef const struct __attribute__((objc_bridge(NSArray))) __CFArray* CFArrayRef SINCE(10.0, "CFArray");
typedef const struct __attribute__((objc_bridge(NSNumber))) __CFBoolean* CFBooleanRef SINCE(10.0, "CFBoolean");

typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef SINCE(10.0, "CFString");
typedef const struct __attribute__((objc_bridge(NSDictionary))) __CFDictionary* CFDictionaryRef SINCE(10.0, "CFDictionary");

extern "C" {
extern const CFAllocatorRef kCFAllocatorDefault SINCE(10.0, "kCFAllocatorDefault");
CFTypeRef CFRetain(CFTypeRef cf) SINCE(10.0, "CFRetain");
void CFRelease(CFTypeRef cf) SINCE(10.0, "CFRelease");
CFIndex CFArrayGetCount(CFArrayRef theArray) SINCE(10.0, "CFArrayGetCount(_:)");
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) SINCE(10.0, "CFArrayGetValueAtIndex(_:_:)");
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) SINCE(10.0, "CFDictionaryGetValue(_:_:)");
Boolean CFBooleanGetValue(CFBooleanRef boolean) SINCE(10.0, "CFBooleanGetValue(_:)");
}
