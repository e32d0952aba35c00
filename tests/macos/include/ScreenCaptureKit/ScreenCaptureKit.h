#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <CoreMedia/CoreMedia.h>
#include <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

@class SCStream;
@class SCWindow;

typedef NSString* SCStreamFrameInfo SINCE(12.3, "SCStreamFrameInfo");
extern "C" SCStreamFrameInfo const SCStreamFrameInfoStatus SINCE(12.3, "status");

typedef NS_ENUM(NSInteger, SCFrameStatus) {  // SINCE(12.3, "SCFrameStatus")
  SCFrameStatusComplete SINCE(12.3, "SCFrameStatus.complete") = 0,
  SCFrameStatusSuspended SINCE(12.3, "SCFrameStatus.suspended") = 3
};
typedef NS_ENUM(NSInteger, SCStreamOutputType) {  // SINCE(12.3, "SCStreamOutputType")
  SCStreamOutputTypeScreen SINCE(12.3, "SCStreamOutputType.screen")
};

SINCE(12.3, "SCDisplay")
@interface SCDisplay : NSObject
@property(readonly) CGDirectDisplayID displayID SINCE(12.3, "displayID");
@property(readonly) NSInteger width SINCE(12.3, "width");
@property(readonly) NSInteger height SINCE(12.3, "height");
@end

SINCE(12.3, "SCShareableContent")
@interface SCShareableContent : NSObject
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktopWindows onScreenWindowsOnly:(BOOL)onScreenWindowsOnly completionHandler:(void (^)(SCShareableContent* shareableContent, NSError* error))completionHandler SINCE(12.3, "getExcludingDesktopWindows(_:onScreenWindowsOnly:completionHandler:)");
@property(readonly) NSArray<SCDisplay*>* displays SINCE(12.3, "displays");
@end

SINCE(12.3, "SCContentFilter")
@interface SCContentFilter : NSObject
- (instancetype)initWithDisplay:(SCDisplay*)display excludingWindows:(NSArray<SCWindow*>*)excluded SINCE(12.3, "init(display:excludingWindows:)");
@end

SINCE(12.3, "SCStreamConfiguration")
@interface SCStreamConfiguration : NSObject
@property(nonatomic, assign) size_t width SINCE(12.3, "width");
@property(nonatomic, assign) size_t height SINCE(12.3, "height");
@property(nonatomic, assign) CMTime minimumFrameInterval SINCE(12.3, "minimumFrameInterval");
@property(nonatomic, assign) OSType pixelFormat SINCE(12.3, "pixelFormat");
@property(nonatomic, assign) NSInteger queueDepth SINCE(12.3, "queueDepth");
@property(nonatomic, assign) BOOL showsCursor SINCE(12.3, "showsCursor");
@end

SINCE(12.3, "SCStreamOutput")
@protocol SCStreamOutput <NSObject>
@optional
- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sampleBuffer ofType:(SCStreamOutputType)type SINCE(12.3, "stream(_:didOutputSampleBuffer:of:)");
@end

SINCE(12.3, "SCStreamDelegate")
@protocol SCStreamDelegate <NSObject>
@optional
- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error SINCE(12.3, "stream(_:didStopWithError:)");
@end

SINCE(12.3, "SCStream")
@interface SCStream : NSObject
- (instancetype)initWithFilter:(SCContentFilter*)contentFilter configuration:(SCStreamConfiguration*)streamConfig delegate:(id<SCStreamDelegate>)delegate SINCE(12.3, "init(filter:configuration:delegate:)");
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output type:(SCStreamOutputType)type sampleHandlerQueue:(dispatch_queue_t)sampleHandlerQueue error:(NSError**)error SINCE(12.3, "addStreamOutput(_:type:sampleHandlerQueue:)");
- (void)startCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler SINCE(12.3, "startCapture(completionHandler:)");
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError* error))completionHandler SINCE(12.3, "stopCapture(completionHandler:)");
@end
