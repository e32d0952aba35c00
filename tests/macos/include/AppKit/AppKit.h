#pragma once

#include <ApplicationServices/ApplicationServices.h>
#include <Foundation/Foundation.h>

@class NSGraphicsContext;
@class NSRunningApplication;

typedef NSString* NSImageHintKey SINCE(10.5, "NSImageHintKey");

SINCE(10.0, "NSImage")
@interface NSImage : NSObject
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
- (BOOL)openURL:(NSURL*)url SINCE(10.0, "openURL:");
- (NSImage*)iconForFile:(NSString*)fullPath SINCE(10.0, "iconForFile:");
- (NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)bundleIdentifier SINCE(10.6, "URLForApplicationWithBundleIdentifier:");
- (void)openApplicationAtURL:(NSURL*)applicationURL configuration:(NSWorkspaceOpenConfiguration*)configuration completionHandler:(void (^)(NSRunningApplication* app, NSError* error))completionHandler SINCE(10.15, "openApplicationAtURL:configuration:completionHandler:");
@end
