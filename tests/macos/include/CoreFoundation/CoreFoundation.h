#pragma once

#include <Since.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// As the system's own headers have them in C++: an enumeration is a type, a set of options a number.
#define CF_ENUM(type, name) enum name : type name; enum name : type
#define CF_OPTIONS(type, name) type name; enum : type

typedef unsigned char Boolean SINCE(10.0, "Boolean");
typedef uint16_t UniChar SINCE(10.0, "UniChar");
typedef uint32_t UInt32 SINCE(10.0, "UInt32");
typedef int32_t SInt32 SINCE(10.0, "SInt32");
typedef UInt32 FourCharCode SINCE(10.0, "FourCharCode");
typedef FourCharCode OSType SINCE(10.0, "OSType");
typedef SInt32 OSStatus SINCE(10.0, "OSStatus");
enum { noErr SINCE(10.0, "noErr") = 0 };
typedef long CFIndex SINCE(10.0, "CFIndex");
typedef unsigned long UniCharCount SINCE(10.0, "UniCharCount");
typedef unsigned long CFTypeID SINCE(10.0, "CFTypeID");

typedef const void* CFTypeRef SINCE(10.0, "CFTypeRef");
typedef const struct __CFAllocator* CFAllocatorRef SINCE(10.0, "CFAllocator");
typedef const struct __attribute__((objc_bridge(NSNumber))) __CFBoolean* CFBooleanRef SINCE(10.0, "CFBoolean");
typedef CFTypeRef CFPropertyListRef SINCE(10.0, "CFPropertyList");
typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef SINCE(10.0, "CFString");
typedef const struct __attribute__((objc_bridge(NSDictionary))) __CFDictionary* CFDictionaryRef SINCE(10.0, "CFDictionary");
typedef const struct __attribute__((objc_bridge(NSArray))) __CFArray* CFArrayRef SINCE(10.0, "CFArray");
typedef const struct __attribute__((objc_bridge(NSNumber))) __CFNumber* CFNumberRef SINCE(10.0, "CFNumber");
typedef struct __attribute__((objc_bridge(id))) __CFMachPort* CFMachPortRef SINCE(10.0, "CFMachPort");
typedef struct __attribute__((objc_bridge(id))) __CFRunLoop* CFRunLoopRef SINCE(10.0, "CFRunLoop");
typedef struct __attribute__((objc_bridge(id))) __CFRunLoopSource* CFRunLoopSourceRef SINCE(10.0, "CFRunLoopSource");
typedef CFStringRef CFRunLoopMode SINCE(10.0, "CFRunLoopMode");

extern "C" {
extern const CFAllocatorRef kCFAllocatorDefault SINCE(10.0, "kCFAllocatorDefault");
CFTypeRef CFRetain(CFTypeRef cf) SINCE(10.0, "CFRetain");
CFIndex CFArrayGetCount(CFArrayRef theArray) SINCE(10.0, "CFArrayGetCount(_:)");
const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) SINCE(10.0, "CFArrayGetValueAtIndex(_:_:)");
const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) SINCE(10.0, "CFDictionaryGetValue(_:_:)");
Boolean CFBooleanGetValue(CFBooleanRef boolean) SINCE(10.0, "CFBooleanGetValue(_:)");
void CFRelease(CFTypeRef cf) SINCE(10.0, "CFRelease");
CFTypeID CFGetTypeID(CFTypeRef cf) SINCE(10.0, "CFGetTypeID");
CFTypeID CFBooleanGetTypeID(void) SINCE(10.0, "CFBooleanGetTypeID");
Boolean CFNumberIsFloatType(CFNumberRef number) SINCE(10.0, "CFNumberIsFloatType");

CFRunLoopSourceRef CFMachPortCreateRunLoopSource(CFAllocatorRef allocator, CFMachPortRef port, CFIndex order) SINCE(10.0, "CFMachPortCreateRunLoopSource(_:_:_:)");
void CFMachPortInvalidate(CFMachPortRef port) SINCE(10.0, "CFMachPortInvalidate(_:)");
extern const CFRunLoopMode kCFRunLoopCommonModes SINCE(10.0, "commonModes");
CFRunLoopRef CFRunLoopGetCurrent(void) SINCE(10.0, "CFRunLoopGetCurrent()");
void CFRunLoopAddSource(CFRunLoopRef rl, CFRunLoopSourceRef source, CFRunLoopMode mode) SINCE(10.0, "CFRunLoopAddSource(_:_:_:)");

extern const CFStringRef kCFPreferencesAnyHost SINCE(10.0, "kCFPreferencesAnyHost");
extern const CFStringRef kCFPreferencesCurrentUser SINCE(10.0, "kCFPreferencesCurrentUser");
CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef applicationID) SINCE(10.0, "CFPreferencesCopyAppValue");
void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef applicationID) SINCE(10.0, "CFPreferencesSetAppValue");
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID) SINCE(10.0, "CFPreferencesAppSynchronize");
CFDictionaryRef CFPreferencesCopyMultiple(CFArrayRef keysToFetch, CFStringRef applicationID, CFStringRef userName, CFStringRef hostName) SINCE(10.0, "CFPreferencesCopyMultiple");
}
