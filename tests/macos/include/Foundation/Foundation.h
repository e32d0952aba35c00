#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CGGeometry.h>
#include <objc/NSObject.h>

@class NSString;

// Core Foundation's objects, handed over to automatic reference counting.
id CFBridgingRelease(CFTypeRef __attribute__((cf_consumed)) object) SINCE(10.7, "CFBridgingRelease");

typedef double NSTimeInterval SINCE(10.0, "NSTimeInterval");
typedef CGPoint NSPoint SINCE(10.0, "NSPoint");
typedef CGRect NSRect SINCE(10.0, "NSRect");
typedef CGSize NSSize SINCE(10.0, "NSSize");
extern "C" {
extern const NSPoint NSZeroPoint SINCE(10.0, "NSZeroPoint");
NSString* NSHomeDirectory(void) SINCE(10.0, "NSHomeDirectory");
}

typedef struct {
  unsigned long state;
  id __unsafe_unretained* itemsPtr;
  unsigned long* mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState SINCE(10.5, "NSFastEnumerationState");

SINCE(10.5, "NSFastEnumeration")
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state objects:(id __unsafe_unretained[])buffer count:(NSUInteger)len SINCE(10.5, "countByEnumeratingWithState:objects:count:");
@end

SINCE(10.0, "NSData")
@interface NSData : NSObject
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length SINCE(10.0, "dataWithBytes:length:");
@property(readonly) NSUInteger length SINCE(10.0, "length");
@property(readonly) const void* bytes SINCE(10.0, "bytes");
@end

SINCE(10.0, "NSDate")
@interface NSDate : NSObject
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)secs SINCE(10.0, "dateWithTimeIntervalSinceNow:");
+ (instancetype)dateWithTimeIntervalSince1970:(NSTimeInterval)secs SINCE(10.0, "dateWithTimeIntervalSince1970:");
@property(readonly) NSTimeInterval timeIntervalSince1970 SINCE(10.0, "timeIntervalSince1970");
@end

typedef NSUInteger NSStringEncoding SINCE(10.0, "NSStringEncoding");
enum : NSStringEncoding { NSUTF8StringEncoding SINCE(10.0, "NSUTF8StringEncoding") = 4 };

SINCE(10.0, "NSString")
@interface NSString : NSObject
+ (instancetype)stringWithUTF8String:(const char*)nullTerminatedCString SINCE(10.0, "stringWithUTF8String:");
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)len encoding:(NSStringEncoding)encoding SINCE(10.0, "initWithBytes:length:encoding:");
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding SINCE(10.0, "dataUsingEncoding:");
- (BOOL)isEqualToString:(NSString*)aString SINCE(10.0, "isEqualToString:");
- (NSString*)stringByAppendingPathComponent:(NSString*)str SINCE(10.0, "stringByAppendingPathComponent:");
@end

SINCE(10.0, "NSNumber")
@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value SINCE(10.0, "numberWithBool:");
+ (NSNumber*)numberWithInt:(int)value SINCE(10.0, "numberWithInt:");
+ (NSNumber*)numberWithLong:(long)value SINCE(10.0, "numberWithLong:");
+ (NSNumber*)numberWithDouble:(double)value SINCE(10.0, "numberWithDouble:");
+ (NSNumber*)numberWithLongLong:(long long)value SINCE(10.0, "numberWithLongLong:");
@property(readonly) BOOL boolValue SINCE(10.0, "boolValue");
@property(readonly) double doubleValue SINCE(10.0, "doubleValue");
@property(readonly) NSInteger integerValue SINCE(10.5, "integerValue");
@property(readonly) long long longLongValue SINCE(10.0, "longLongValue");
@end

SINCE(10.0, "NSArray")
@interface NSArray<ObjectType> : NSObject <NSFastEnumeration>
@property(readonly) ObjectType firstObject SINCE(10.6, "firstObject");
+ (instancetype)array SINCE(10.0, "array");
+ (instancetype)arrayWithObjects:(const ObjectType[])objects count:(NSUInteger)cnt SINCE(10.0, "arrayWithObjects:count:");
@end

SINCE(10.0, "NSMutableArray")
@interface NSMutableArray<ObjectType> : NSArray<ObjectType>
- (void)addObject:(ObjectType)anObject SINCE(10.0, "addObject:");
@end

SINCE(10.0, "NSDictionary")
@interface NSDictionary<KeyType, ObjectType> : NSObject <NSFastEnumeration>
+ (instancetype)dictionaryWithObjects:(const ObjectType[])objects forKeys:(const KeyType[])keys count:(NSUInteger)count SINCE(10.0, "dictionaryWithObjects:forKeys:count:");
- (ObjectType)objectForKeyedSubscript:(KeyType)key SINCE(10.8, "objectForKeyedSubscript:");
@end

SINCE(10.0, "NSMutableDictionary")
@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary<KeyType, ObjectType>
+ (instancetype)dictionary SINCE(10.0, "dictionary");
- (void)setObject:(ObjectType)obj forKeyedSubscript:(KeyType)key SINCE(10.8, "setObject:forKeyedSubscript:");
@end

SINCE(10.5, "NSMapTable")
@interface NSMapTable<KeyType, ObjectType> : NSObject
+ (NSMapTable<KeyType, ObjectType>*)strongToWeakObjectsMapTable SINCE(10.8, "strongToWeakObjectsMapTable");
- (ObjectType)objectForKey:(KeyType)aKey SINCE(10.5, "objectForKey:");
- (void)setObject:(ObjectType)anObject forKey:(KeyType)aKey SINCE(10.5, "setObject:forKey:");
@end

typedef NS_ENUM(NSInteger, NSQualityOfService) {
  NSQualityOfServiceUserInitiated SINCE(10.10, "NSQualityOfServiceUserInitiated") = 0x19,
  NSQualityOfServiceUtility SINCE(10.10, "NSQualityOfServiceUtility") = 0x11,
};

SINCE(10.5, "NSOperation")
@interface NSOperation : NSObject
- (void)addDependency:(NSOperation*)op SINCE(10.5, "addDependency:");
@end

typedef NSString* NSNotificationName SINCE(10.0, "NSNotification.Name");

SINCE(10.0, "NSNotification")
@interface NSNotification : NSObject
@end

SINCE(10.0, "NSNotificationCenter")
@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter SINCE(10.0, "default");
- (void)addObserver:(id)observer selector:(SEL)aSelector name:(NSNotificationName)aName object:(id)anObject SINCE(10.0, "addObserver(_:selector:name:object:)");
- (void)postNotificationName:(NSNotificationName)aName object:(id)anObject SINCE(10.0, "post(name:object:)");
- (void)removeObserver:(id)observer SINCE(10.0, "removeObserver(_:)");
@end

SINCE(10.0, "NSURL")
@interface NSURL : NSObject
+ (instancetype)URLWithString:(NSString*)URLString SINCE(10.0, "URLWithString:");
+ (NSURL*)fileURLWithPath:(NSString*)path SINCE(10.0, "fileURLWithPath:");
@property(readonly, copy) NSString* path SINCE(10.0, "path");
@end

SINCE(10.2, "NSError")
@interface NSError : NSObject
@property(readonly, copy) NSString* domain SINCE(10.2, "domain");
@property(readonly) NSInteger code SINCE(10.2, "code");
@property(readonly, copy) NSString* localizedDescription SINCE(10.2, "localizedDescription");
@property(readonly, copy) NSDictionary<NSString*, id>* userInfo SINCE(10.2, "userInfo");
@end

SINCE(10.0, "NSBundle")
@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle SINCE(10.0, "mainBundle");
+ (instancetype)bundleWithPath:(NSString*)path SINCE(10.0, "bundleWithPath:");
@property(readonly, copy) NSString* bundleIdentifier SINCE(10.0, "bundleIdentifier");
@property(readonly, copy) NSDictionary<NSString*, id>* infoDictionary SINCE(10.0, "infoDictionary");
@end

typedef NSString* NSFileAttributeKey SINCE(10.0, "NSFileAttributeKey");
extern "C" {
extern NSFileAttributeKey const NSFileCreationDate SINCE(10.0, "NSFileCreationDate");
}

SINCE(10.0, "NSFileManager")
@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager SINCE(10.0, "defaultManager");
- (NSDictionary<NSFileAttributeKey, id>*)attributesOfItemAtPath:(NSString*)path error:(NSError**)error SINCE(10.5, "attributesOfItemAtPath:error:");
- (NSArray<NSString*>*)contentsOfDirectoryAtPath:(NSString*)path error:(NSError**)error SINCE(10.5, "contentsOfDirectoryAtPath:error:");
- (BOOL)fileExistsAtPath:(NSString*)path SINCE(10.0, "fileExistsAtPath:");
@end

typedef NS_ENUM(NSUInteger, NSPropertyListFormat) {
  NSPropertyListXMLFormat_v1_0 SINCE(10.2, "NSPropertyListXMLFormat_v1_0") = 100,
};
typedef NSUInteger NSPropertyListWriteOptions SINCE(10.6, "NSPropertyListWriteOptions");

SINCE(10.2, "NSPropertyListSerialization")
@interface NSPropertyListSerialization : NSObject
+ (BOOL)propertyList:(id)plist isValidForFormat:(NSPropertyListFormat)format SINCE(10.2, "propertyList:isValidForFormat:");
+ (NSData*)dataWithPropertyList:(id)plist format:(NSPropertyListFormat)format options:(NSPropertyListWriteOptions)opt error:(NSError**)error SINCE(10.6, "dataWithPropertyList:format:options:error:");
@end

extern "C" {
extern NSString* const NSAppleScriptErrorMessage SINCE(10.2, "NSAppleScriptErrorMessage");
}

typedef NSString* NSRunLoopMode SINCE(10.0, "RunLoop.Mode");
extern "C" {
extern NSRunLoopMode const NSDefaultRunLoopMode SINCE(10.0, "default");
}

typedef FourCharCode DescType SINCE(10.0, "DescType");

typedef uint32_t AEEventClass SINCE(10.0, "AEEventClass");
typedef uint32_t AEEventID SINCE(10.0, "AEEventID");
typedef int16_t AEReturnID SINCE(10.0, "AEReturnID");
typedef int32_t AETransactionID SINCE(10.0, "AETransactionID");
enum { kCoreEventClass SINCE(10.0, "kCoreEventClass") = 'aevt', kAEReopenApplication SINCE(10.0, "kAEReopenApplication") = 'rapp' };
enum { kAutoGenerateReturnID SINCE(10.0, "kAutoGenerateReturnID") = -1, kAnyTransactionID SINCE(10.0, "kAnyTransactionID") = 0 };
typedef NS_OPTIONS(NSUInteger, NSAppleEventSendOptions) {
  NSAppleEventSendWaitForReply SINCE(10.11, "waitForReply") = 3,
};

SINCE(10.0, "NSAppleEventDescriptor")
@interface NSAppleEventDescriptor : NSObject
+ (NSAppleEventDescriptor*)currentProcessDescriptor SINCE(10.11, "currentProcess()");
+ (NSAppleEventDescriptor*)appleEventWithEventClass:(AEEventClass)eventClass eventID:(AEEventID)eventID targetDescriptor:(NSAppleEventDescriptor*)targetDescriptor returnID:(AEReturnID)returnID transactionID:(AETransactionID)transactionID SINCE(10.0, "appleEvent(withEventClass:eventID:targetDescriptor:returnID:transactionID:)");
- (NSAppleEventDescriptor*)sendEventWithOptions:(NSAppleEventSendOptions)sendOptions timeout:(NSTimeInterval)timeoutInSeconds error:(NSError**)error SINCE(10.11, "sendEvent(options:timeout:)");
@property(readonly) DescType descriptorType SINCE(10.0, "descriptorType");
@property(readonly) Boolean booleanValue SINCE(10.0, "booleanValue");
@property(readonly) SInt32 int32Value SINCE(10.0, "int32Value");
@end

SINCE(10.0, "NSAppleEventManager")
@interface NSAppleEventManager : NSObject
+ (NSAppleEventManager*)sharedAppleEventManager SINCE(10.0, "sharedAppleEventManager");
- (void)setEventHandler:(id)handler andSelector:(SEL)handleEventSelector forEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID SINCE(10.0, "setEventHandler:andSelector:forEventClass:andEventID:");
- (void)removeEventHandlerForEventClass:(AEEventClass)eventClass andEventID:(AEEventID)eventID SINCE(10.0, "removeEventHandlerForEventClass:andEventID:");
@end

SINCE(10.2, "NSAppleScript")
@interface NSAppleScript : NSObject
- (instancetype)initWithSource:(NSString*)source SINCE(10.2, "initWithSource:");
- (NSAppleEventDescriptor*)executeAndReturnError:(NSDictionary<NSString*, id>**)errorInfo SINCE(10.2, "executeAndReturnError:");
@end
