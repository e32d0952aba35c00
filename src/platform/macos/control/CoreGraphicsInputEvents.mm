#include "platform/macos/control/CoreGraphicsInputEvents.h"

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

#include <memory>

#include "platform/macos/foundation/CfOwned.h"
#include "platform/macos/values/system/MediaKeyEvent.h"

namespace tevanto {
namespace {

using OwnedEvent = CfOwned<CGEventRef>;

// The numbers of our own enumerations and flags are the system's.
static_assert(kCGEventLeftMouseDown == static_cast<int>(MouseEventType::leftDown) &&
              kCGEventLeftMouseUp == static_cast<int>(MouseEventType::leftUp) &&
              kCGEventRightMouseDown == static_cast<int>(MouseEventType::rightDown) &&
              kCGEventRightMouseUp == static_cast<int>(MouseEventType::rightUp) &&
              kCGEventMouseMoved == static_cast<int>(MouseEventType::moved) &&
              kCGEventLeftMouseDragged == static_cast<int>(MouseEventType::leftDragged));
static_assert(kCGMouseButtonLeft == 0 && kCGMouseButtonRight == 1);
static_assert(kCGEventFlagMaskShift == eventFlag::kShift && kCGEventFlagMaskControl == eventFlag::kControl &&
              kCGEventFlagMaskAlternate == eventFlag::kOption &&
              kCGEventFlagMaskCommand == eventFlag::kCommand &&
              kCGEventFlagMaskNumericPad == eventFlag::kNumericPad &&
              kCGEventFlagMaskSecondaryFn == eventFlag::kSecondaryFunction);

bool post(CGEventRef event) {
  if (!event) return false;
  CGEventPost(kCGHIDEventTap, event);
  return true;
}

CGPoint pointOf(PointerLocation location) { return CGPointMake(location.x, location.y); }

struct SystemSource final : EventSource {
  explicit SystemSource(CGEventSourceRef made) : owned(made) {}

  const CfOwned<CGEventSourceRef> owned;
};

/// An event without one is made from null.
CGEventSourceRef systemSource(const EventSource* source) {
  return source ? static_cast<const SystemSource*>(source)->owned.get() : nullptr;
}

}  // namespace

std::unique_ptr<EventSource> CoreGraphicsInputEvents::makeEventSource() {
  const CGEventSourceRef made = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  return made ? std::make_unique<SystemSource>(made) : nullptr;
}

bool CoreGraphicsInputEvents::postKey(const KeyEvent& event) {
  const OwnedEvent made(CGEventCreateKeyboardEvent(systemSource(event.source), event.keyCode,
                                                   event.direction == KeyDirection::down));
  if (!made) return false;
  if (event.text.empty()) {
    CGEventSetFlags(made.get(), event.flags);
  } else {
    CGEventKeyboardSetUnicodeString(made.get(), event.text.size(),
                                    reinterpret_cast<const UniChar*>(event.text.data()));
  }
  return post(made.get());
}

bool CoreGraphicsInputEvents::postMouse(const MouseEvent& event) {
  const OwnedEvent made(CGEventCreateMouseEvent(nullptr, static_cast<CGEventType>(event.type),
                                                pointOf(event.location),
                                                static_cast<CGMouseButton>(event.button)));
  if (!made) return false;
  if (event.clickState > 0)
    CGEventSetIntegerValueField(made.get(), kCGMouseEventClickState, event.clickState);
  return post(made.get());
}

bool CoreGraphicsInputEvents::postScroll(const ScrollEvent& event) {
  const OwnedEvent made(CGEventCreateScrollWheelEvent2(nullptr, kCGScrollEventUnitPixel, 2, event.vertical,
                                                       event.horizontal, 0));
  return post(made.get());
}

bool CoreGraphicsInputEvents::postMediaKey(MediaKey key, KeyDirection direction) {
  @autoreleasepool {
    const auto shape = mediaKeyEvent(key, direction);
    NSEvent* event = [NSEvent otherEventWithType:NSEventTypeSystemDefined
                                        location:NSZeroPoint
                                   modifierFlags:shape.modifierFlags
                                       timestamp:0
                                    windowNumber:0
                                         context:nil
                                         subtype:MediaKeyEvent::kSubtype
                                           data1:shape.data1
                                           data2:MediaKeyEvent::kData2];
    return post(event.CGEvent);
  }
}

void CoreGraphicsInputEvents::warpPointer(PointerLocation location) {
  CGWarpMouseCursorPosition(pointOf(location));
}

PointerLocation CoreGraphicsInputEvents::pointerLocation() {
  const OwnedEvent here(CGEventCreate(nullptr));
  if (!here) return {};
  const CGPoint at = CGEventGetLocation(here.get());
  return {at.x, at.y};
}

}  // namespace tevanto
