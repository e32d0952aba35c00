#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <Foundation/Foundation.h>

@class NSGraphicsContext;

SINCE(10.6, "NSRunningApplication")
@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)bundleIdentifier SINCE(10.6, "runningApplications(withBundleIdentifier:)");
- (BOOL)terminate SINCE(10.6, "terminate()");
@end

typedef NSString* NSImageHintKey SINCE(10.5, "NSImageHintKey");

SINCE(10.0, "NSImage")
@interface NSImage : NSObject
+ (instancetype)imageWithSystemSymbolName:(NSString*)name accessibilityDescription:(NSString*)description SINCE(11.0, "imageWithSystemSymbolName:accessibilityDescription:");
// A property, whose name is a word of C++.
- (void)setTemplate:(BOOL)isTemplate SINCE(10.5, "template");
- (BOOL)isTemplate SINCE(10.5, "template");
@property NSSize size SINCE(10.0, "size");
- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect context:(NSGraphicsContext*)referenceContext hints:(NSDictionary<NSImageHintKey, id>*)hints SINCE(10.6, "CGImageForProposedRect:context:hints:");
@end

typedef NS_ENUM(NSUInteger, NSBitmapImageFileType) {
  NSBitmapImageFileTypePNG SINCE(10.12, "NSBitmapImageFileTypePNG") = 4,
};
typedef NSString* NSBitmapImageRepPropertyKey SINCE(10.0, "NSBitmapImageRepPropertyKey");

SINCE(10.0, "NSBitmapImageRep")
@interface NSBitmapImageRep : NSObject
- (instancetype)initWithCGImage:(CGImageRef)cgImage SINCE(10.5, "initWithCGImage:");
- (NSData*)representationUsingType:(NSBitmapImageFileType)storageType properties:(NSDictionary<NSBitmapImageRepPropertyKey, id>*)properties SINCE(10.0, "representationUsingType:properties:");
@end

typedef NS_ENUM(NSUInteger, NSEventType) {
  NSEventTypeSystemDefined SINCE(10.12, "NSEventTypeSystemDefined") = 14,
};
typedef NS_OPTIONS(NSUInteger, NSEventModifierFlags) {};
typedef NS_OPTIONS(unsigned long long, NSEventMask) {
  NSEventMaskAny SINCE(10.12, "any") = ~0UL,
};

SINCE(10.0, "NSEvent")
@interface NSEvent : NSObject
+ (NSEvent*)otherEventWithType:(NSEventType)type location:(NSPoint)location modifierFlags:(NSEventModifierFlags)flags timestamp:(NSTimeInterval)time windowNumber:(NSInteger)wNum context:(NSGraphicsContext*)context subtype:(short)subtype data1:(NSInteger)d1 data2:(NSInteger)d2 SINCE(10.0, "otherEventWithType:location:modifierFlags:timestamp:windowNumber:context:subtype:data1:data2:");
@property(readonly) CGEventRef CGEvent SINCE(10.5, "CGEvent");
@end

SINCE(10.15, "NSWorkspaceOpenConfiguration")
@interface NSWorkspaceOpenConfiguration : NSObject
+ (instancetype)configuration SINCE(10.15, "configuration");
@property BOOL activates SINCE(10.15, "activates");
@end

SINCE(10.0, "NSWorkspace")
@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace SINCE(10.0, "sharedWorkspace");
@property(readonly, strong) NSNotificationCenter* notificationCenter SINCE(10.0, "notificationCenter");
@property(readonly) BOOL accessibilityDisplayShouldReduceMotion SINCE(10.12, "accessibilityDisplayShouldReduceMotion");
- (BOOL)openURL:(NSURL*)url SINCE(10.0, "openURL:");
- (NSImage*)iconForFile:(NSString*)fullPath SINCE(10.0, "iconForFile:");
- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)bundleIdentifier SINCE(10.6, "URLForApplicationWithBundleIdentifier:");
- (void)openApplicationAtURL:(NSURL*)applicationURL configuration:(NSWorkspaceOpenConfiguration*)configuration completionHandler:(void (^)(NSRunningApplication* app, NSError* error))completionHandler SINCE(10.15, "openApplicationAtURL:configuration:completionHandler:");
@end

extern "C" {
extern NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification SINCE(10.10, "accessibilityDisplayOptionsDidChangeNotification");
extern NSNotificationName const NSApplicationWillFinishLaunchingNotification SINCE(10.0, "willFinishLaunchingNotification");
}

SINCE(10.0, "NSView")
@interface NSView : NSObject
@property(copy) NSArray<NSView*>* subviews SINCE(10.0, "subviews");
@end

SINCE(10.0, "NSWindow")
@interface NSWindow : NSObject
@property(readonly) NSRect frame SINCE(10.0, "frame");
@property(strong) NSView* contentView SINCE(10.0, "contentView");
@end

typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy) {
  NSApplicationActivationPolicyRegular SINCE(10.6, "NSApplicationActivationPolicyRegular") = 0,
  NSApplicationActivationPolicyAccessory SINCE(10.6, "NSApplicationActivationPolicyAccessory") = 1,
};

SINCE(10.0, "NSApplication")
@interface NSApplication : NSObject
@property(class, readonly, strong) NSApplication* sharedApplication SINCE(10.0, "sharedApplication");
@property(readonly, getter=isActive) BOOL active SINCE(10.0, "isActive");
@property(readonly, copy) NSArray<NSWindow*>* windows SINCE(10.0, "windows");
- (void)finishLaunching SINCE(10.0, "finishLaunching()");
- (NSEvent*)nextEventMatchingMask:(NSEventMask)mask untilDate:(NSDate*)expiration inMode:(NSRunLoopMode)mode dequeue:(BOOL)deqFlag SINCE(10.0, "nextEvent(matching:until:inMode:dequeue:)");
- (void)sendEvent:(NSEvent*)event SINCE(10.0, "sendEvent(_:)");
- (NSApplicationActivationPolicy)activationPolicy SINCE(10.6, "activationPolicy()");
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)activationPolicy SINCE(10.6, "setActivationPolicy:");
- (void)activateIgnoringOtherApps:(BOOL)flag SINCE(10.0, "activateIgnoringOtherApps:");
@end

SINCE(10.0, "NSScreen")
@interface NSScreen : NSObject
@property(class, readonly, copy) NSArray<NSScreen*>* screens SINCE(10.0, "screens");
@property(readonly) NSRect frame SINCE(10.0, "frame");
@end

SINCE(10.10, "NSStatusBarButton")
@interface NSStatusBarButton : NSView
- (void)performClick:(id)sender SINCE(10.0, "performClick(_:)");
@property(strong) NSImage* image SINCE(10.10, "image");
@property(weak) id target SINCE(10.10, "target");
@property SEL action SINCE(10.10, "action");
@property(readonly, weak) NSWindow* window SINCE(10.10, "window");
@end

SINCE(10.0, "NSStatusItem")
@interface NSStatusItem : NSObject
@property(readonly, strong) NSStatusBarButton* button SINCE(10.10, "button");
@end

extern "C" {
extern const CGFloat NSVariableStatusItemLength SINCE(10.0, "NSVariableStatusItemLength");
}

SINCE(10.0, "NSStatusBar")
@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar SINCE(10.0, "systemStatusBar");
- (NSStatusItem*)statusItemWithLength:(CGFloat)length SINCE(10.0, "statusItemWithLength:");
- (void)removeStatusItem:(NSStatusItem*)item SINCE(10.0, "removeStatusItem:");
@end
