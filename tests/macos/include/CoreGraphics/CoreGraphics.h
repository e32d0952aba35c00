#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>

typedef uint32_t CGDirectDisplayID SINCE(10.0, "CGDirectDisplayID");

// Events

typedef struct __attribute__((objc_bridge(id))) __CGEvent* CGEventRef SINCE(10.4, "CGEvent");
typedef struct __attribute__((objc_bridge(id))) __CGEventSource* CGEventSourceRef SINCE(10.4, "CGEventSource");
typedef uint16_t CGKeyCode SINCE(10.0, "CGKeyCode");

typedef CF_ENUM(uint32_t, CGEventType) {
  kCGEventLeftMouseDown SINCE(10.4, "kCGEventLeftMouseDown") = 1,
  kCGEventLeftMouseUp SINCE(10.4, "kCGEventLeftMouseUp") = 2,
  kCGEventRightMouseDown SINCE(10.4, "kCGEventRightMouseDown") = 3,
  kCGEventRightMouseUp SINCE(10.4, "kCGEventRightMouseUp") = 4,
  kCGEventMouseMoved SINCE(10.4, "kCGEventMouseMoved") = 5,
  kCGEventLeftMouseDragged SINCE(10.4, "kCGEventLeftMouseDragged") = 6,
  kCGEventKeyDown SINCE(10.4, "CGEventType.keyDown") = 10,
  kCGEventKeyUp SINCE(10.4, "CGEventType.keyUp") = 11,
  kCGEventScrollWheel SINCE(10.4, "CGEventType.scrollWheel") = 22,
};
typedef CF_ENUM(uint32_t, CGMouseButton) {
  kCGMouseButtonLeft SINCE(10.4, "kCGMouseButtonLeft") = 0,
  kCGMouseButtonRight SINCE(10.4, "kCGMouseButtonRight") = 1,
};
typedef CF_ENUM(uint32_t, CGEventField) {
  kCGMouseEventClickState SINCE(10.4, "kCGMouseEventClickState") = 1,
  kCGKeyboardEventKeycode SINCE(10.4, "CGEventField.keyboardEventKeycode") = 9,
  kCGEventSourceUnixProcessID SINCE(10.4, "CGEventField.eventSourceUnixProcessID") = 41,
  kCGScrollWheelEventPointDeltaAxis1 SINCE(10.4, "CGEventField.scrollWheelEventPointDeltaAxis1") = 96,
  kCGScrollWheelEventPointDeltaAxis2 SINCE(10.4, "CGEventField.scrollWheelEventPointDeltaAxis2") = 97,
};
typedef CF_ENUM(uint32_t, CGScrollEventUnit) {
  kCGScrollEventUnitPixel SINCE(10.4, "kCGScrollEventUnitPixel") = 0,
};
typedef CF_ENUM(uint32_t, CGEventTapLocation) {
  kCGHIDEventTap SINCE(10.4, "kCGHIDEventTap") = 0,
  kCGSessionEventTap SINCE(10.4, "CGEventTapLocation.cgSessionEventTap") = 1,
};
typedef CF_ENUM(uint32_t, CGEventTapPlacement) {
  kCGHeadInsertEventTap SINCE(10.4, "CGEventTapPlacement.headInsertEventTap") = 0,
};
typedef CF_ENUM(uint32_t, CGEventTapOptions) {
  kCGEventTapOptionDefault SINCE(10.4, "CGEventTapOptions.defaultTap") = 0,
};
typedef uint64_t CGEventMask SINCE(10.4, "CGEventMask");
typedef struct __CGEventTapProxy* CGEventTapProxy SINCE(10.4, "CGEventTapProxy");
typedef CGEventRef (*CGEventTapCallBack)(CGEventTapProxy proxy, CGEventType type, CGEventRef event, void* userInfo) SINCE(10.4, "CGEventTapCallBack");
typedef CF_ENUM(int32_t, CGEventSourceStateID) {
  kCGEventSourceStateCombinedSessionState SINCE(10.4, "kCGEventSourceStateCombinedSessionState") = 0,
};
typedef CF_OPTIONS(uint64_t, CGEventFlags) {
  kCGEventFlagMaskShift SINCE(10.4, "kCGEventFlagMaskShift") = 0x20000,
  kCGEventFlagMaskControl SINCE(10.4, "kCGEventFlagMaskControl") = 0x40000,
  kCGEventFlagMaskAlternate SINCE(10.4, "kCGEventFlagMaskAlternate") = 0x80000,
  kCGEventFlagMaskCommand SINCE(10.4, "kCGEventFlagMaskCommand") = 0x100000,
  kCGEventFlagMaskNumericPad SINCE(10.4, "kCGEventFlagMaskNumericPad") = 0x200000,
  kCGEventFlagMaskSecondaryFn SINCE(10.4, "kCGEventFlagMaskSecondaryFn") = 0x800000,
};

typedef int32_t CGError SINCE(10.0, "CGError");

extern "C" {
CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID stateID) SINCE(10.4, "init(stateID:)");
CGEventRef CGEventCreate(CGEventSourceRef source) SINCE(10.4, "init(source:)");
CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode virtualKey, bool keyDown) SINCE(10.4, "init(keyboardEventSource:virtualKey:keyDown:)");
CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType mouseType, CGPoint mouseCursorPosition, CGMouseButton mouseButton) SINCE(10.4, "init(mouseEventSource:mouseType:mouseCursorPosition:mouseButton:)");
CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit units, uint32_t wheelCount, int32_t wheel1, int32_t wheel2, int32_t wheel3) SINCE(10.13, "init(scrollWheelEvent2Source:units:wheelCount:wheel1:wheel2:wheel3:)");
CFMachPortRef CGEventTapCreate(CGEventTapLocation tap, CGEventTapPlacement place, CGEventTapOptions options, CGEventMask eventsOfInterest, CGEventTapCallBack callback, void* userInfo) SINCE(10.4, "tapCreate(tap:place:options:eventsOfInterest:callback:userInfo:)");
CGEventFlags CGEventGetFlags(CGEventRef event) SINCE(10.4, "flags");
int64_t CGEventGetIntegerValueField(CGEventRef event, CGEventField field) SINCE(10.4, "getIntegerValueField(_:)");
void CGEventKeyboardGetUnicodeString(CGEventRef event, UniCharCount maxStringLength, UniCharCount* actualStringLength, UniChar* unicodeString) SINCE(10.4, "keyboardGetUnicodeString(maxStringLength:actualStringLength:unicodeString:)");
CGPoint CGEventGetLocation(CGEventRef event) SINCE(10.4, "location");
void CGEventSetFlags(CGEventRef event, CGEventFlags flags) SINCE(10.4, "flags");
void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value) SINCE(10.4, "setIntegerValueField(_:value:)");
void CGEventKeyboardSetUnicodeString(CGEventRef event, UniCharCount stringLength, const UniChar* unicodeString) SINCE(10.4, "keyboardSetUnicodeString(stringLength:unicodeString:)");
void CGEventPost(CGEventTapLocation tap, CGEventRef event) SINCE(10.4, "post(tap:)");
CGError CGWarpMouseCursorPosition(CGPoint newCursorPosition) SINCE(10.0, "CGWarpMouseCursorPosition(_:)");

// Displays, and whether they may be captured

CGDirectDisplayID CGMainDisplayID(void) SINCE(10.2, "CGMainDisplayID()");
bool CGPreflightScreenCaptureAccess(void) SINCE(10.15, "CGPreflightScreenCaptureAccess()");
bool CGRequestScreenCaptureAccess(void) SINCE(10.15, "CGRequestScreenCaptureAccess()");
}

// Bitmaps

typedef struct __attribute__((objc_bridge(id))) CGContext* CGContextRef SINCE(10.0, "CGContext");
typedef struct __attribute__((objc_bridge(id))) CGImage* CGImageRef SINCE(10.0, "CGImage");
typedef struct __attribute__((objc_bridge(id))) CGColorSpace* CGColorSpaceRef SINCE(10.0, "CGColorSpace");

typedef CF_ENUM(uint32_t, CGImageAlphaInfo) {
  kCGImageAlphaPremultipliedLast SINCE(10.0, "CGImageAlphaInfo.premultipliedLast") = 1,
};
typedef CF_ENUM(int32_t, CGInterpolationQuality) {
  kCGInterpolationHigh SINCE(10.0, "CGInterpolationQuality.high") = 3,
};

extern "C" {
extern const CFStringRef kCGColorSpaceSRGB SINCE(10.5, "sRGB");
CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) SINCE(10.2, "init(name:)");
CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent, size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo) SINCE(10.0, "CGBitmapContextCreate");
CGImageRef CGBitmapContextCreateImage(CGContextRef context) SINCE(10.4, "makeImage()");
void CGContextSetInterpolationQuality(CGContextRef c, CGInterpolationQuality quality) SINCE(10.1, "interpolationQuality");
void CGContextDrawImage(CGContextRef c, CGRect rect, CGImageRef image) SINCE(10.0, "CGContextDrawImage");
}
