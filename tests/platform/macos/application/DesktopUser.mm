#include "tests/platform/macos/application/DesktopUser.h"

#import <AppKit/AppKit.h>

#include <chrono>

namespace tevanto::test {
namespace {

NSStatusBarButton* buttonIn(NSView* view) {
  if ([view isKindOfClass:NSStatusBarButton.class]) return static_cast<NSStatusBarButton*>(view);
  for (NSView* inner in view.subviews) {
    if (NSStatusBarButton* found = buttonIn(inner)) return found;
  }
  return nil;
}

/// Nil when there is none, or more than one.
NSStatusBarButton* onlyButton() {
  NSStatusBarButton* only = nil;
  for (NSWindow* window in NSApplication.sharedApplication.windows) {
    NSStatusBarButton* button = buttonIn(window.contentView);
    if (button && only) return nil;
    if (button) only = button;
  }
  return only;
}

double topOf(NSRect rectangle) { return rectangle.origin.y + rectangle.size.height; }

}  // namespace

std::optional<MenuBarIcon> menuBarIcon() {
  @autoreleasepool {
    NSStatusBarButton* const button = onlyButton();
    if (!button) return std::nullopt;
    const NSRect frame = button.window.frame;
    const NSRect main = NSScreen.screens.firstObject.frame;
    return MenuBarIcon{.x = frame.origin.x,
                       .y = topOf(main) - topOf(frame),
                       .width = frame.size.width,
                       .height = frame.size.height,
                       .hasTemplateImage = button.image && [button.image isTemplate],
                       .imageWidth = button.image ? button.image.size.width : 0};
  }
}

bool pressMenuBarIcon() {
  @autoreleasepool {
    NSStatusBarButton* const button = onlyButton();
    [button performClick:nil];
    return button != nil;
  }
}

bool openAgain() {
  @autoreleasepool {
    NSAppleEventDescriptor* const event =
        [NSAppleEventDescriptor appleEventWithEventClass:kCoreEventClass
                                                 eventID:kAEReopenApplication
                                        targetDescriptor:[NSAppleEventDescriptor currentProcessDescriptor]
                                                returnID:kAutoGenerateReturnID
                                           transactionID:kAnyTransactionID];
    constexpr NSTimeInterval kTimeout = 30;
    return [event sendEventWithOptions:NSAppleEventSendWaitForReply timeout:kTimeout error:nil] != nil;
  }
}

bool isInTheDock() {
  return NSApplication.sharedApplication.activationPolicy == NSApplicationActivationPolicyRegular;
}

bool eventuallyWithEvents(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    @autoreleasepool {
      NSApplication* const application = NSApplication.sharedApplication;
      NSEvent* const event = [application nextEventMatchingMask:NSEventMaskAny
                                                      untilDate:[NSDate dateWithTimeIntervalSinceNow:0.01]
                                                         inMode:NSDefaultRunLoopMode
                                                        dequeue:YES];
      if (event) [application sendEvent:event];
    }
  }
  return true;
}

}  // namespace tevanto::test
