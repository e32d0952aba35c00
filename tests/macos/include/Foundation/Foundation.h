#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObject.h>

@class NSURL;

typedef NSUInteger NSStringEncoding SINCE(10.0, "NSStringEncoding");
enum : NSStringEncoding { NSUTF8StringEncoding SINCE(10.0, "NSUTF8StringEncoding") = 4 };

typedef double NSTimeInterval SINCE(10.0, "TimeInterval");

typedef struct {
  unsigned long state;
  __unsafe_unretained id* itemsPtr;
  unsigned long* mutationsPtr;
  unsigned long extra[5];
} NSFastEnumerationState SINCE(10.5, "NSFastEnumerationState");

SINCE(10.0, "NSData")
@interface NSData : NSObject
+ (instancetype)dataWithBytes:(const void*)bytes length:(NSUInteger)length SINCE(10.0, "dataWithBytes:length:");
@property(readonly) NSUInteger length SINCE(10.0, "length");
@property(readonly) const void* bytes SINCE(10.0, "bytes");
@end

SINCE(10.0, "NSString")
@interface NSString : NSObject
+ (instancetype)stringWithUTF8String:(const char*)nullTerminatedCString SINCE(10.0, "stringWithUTF8String:");
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding SINCE(10.0, "initWithBytes:length:encoding:");
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding SINCE(10.0, "dataUsingEncoding:");
@end

SINCE(10.0, "NSNumber")
@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value SINCE(10.0, "numberWithBool:");
+ (NSNumber*)numberWithInt:(int)value SINCE(10.0, "numberWithInt:");
+ (NSNumber*)numberWithLong:(long)value SINCE(10.0, "numberWithLong:");
@property(readonly) BOOL boolValue SINCE(10.0, "boolValue");
@property(readonly) double doubleValue SINCE(10.0, "doubleValue");
@property(readonly) NSInteger integerValue SINCE(10.5, "integerValue");
@end

SINCE(10.0, "NSDictionary")
@interface NSDictionary<KeyType, ObjectType> : NSObject
+ (instancetype)dictionaryWithObjects:(const ObjectType[])objects
                              forKeys:(const KeyType[])keys
                                count:(NSUInteger)count SINCE(10.0, "dictionaryWithObjects:forKeys:count:");
- (ObjectType)objectForKeyedSubscript:(KeyType)key SINCE(10.8, "objectForKeyedSubscript:");
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state objects:(id __unsafe_unretained[])buffer count:(NSUInteger)len SINCE(10.5, "countByEnumeratingWithState:objects:count:");
@end

SINCE(10.0, "NSArray")
@interface NSArray<ObjectType> : NSObject
+ (instancetype)arrayWithObjects:(const ObjectType[])objects count:(NSUInteger)cnt SINCE(10.0, "arrayWithObjects:count:");
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state objects:(id __unsafe_unretained[])buffer count:(NSUInteger)len SINCE(10.5, "countByEnumeratingWithState:objects:count:");
@end

SINCE(10.0, "NSMutableArray")
@interface NSMutableArray<ObjectType> : NSArray<ObjectType>
+ (instancetype)array SINCE(10.0, "array");
- (void)addObject:(ObjectType)anObject SINCE(10.0, "add(_:)");
@end

SINCE(10.5, "NSMapTable")
@interface NSMapTable<KeyType, ObjectType> : NSObject
+ (NSMapTable<KeyType, ObjectType>*)strongToWeakObjectsMapTable SINCE(10.8, "strongToWeakObjects()");
- (ObjectType)objectForKey:(KeyType)aKey SINCE(10.5, "object(forKey:)");
- (void)setObject:(ObjectType)anObject forKey:(KeyType)aKey SINCE(10.5, "setObject(_:forKey:)");
@end

SINCE(10.0, "NSDate")
@interface NSDate : NSObject
+ (instancetype)dateWithTimeIntervalSince1970:(NSTimeInterval)secs SINCE(10.0, "dateWithTimeIntervalSince1970:");
@property(readonly) NSTimeInterval timeIntervalSince1970 SINCE(10.0, "timeIntervalSince1970");
@end

SINCE(10.2, "NSError")
@interface NSError : NSObject
@property(readonly, copy) NSString* domain SINCE(10.2, "domain");
@property(readonly) NSInteger code SINCE(10.2, "code");
@property(readonly, copy) NSString* localizedDescription SINCE(10.2, "localizedDescription");
@property(readonly, copy) NSDictionary<NSString*, id>* userInfo SINCE(10.2, "userInfo");
@end

typedef NS_ENUM(NSInteger, NSQualityOfService) {  // SINCE(10.10, "QualityOfService")
  NSQualityOfServiceUserInitiated SINCE(10.10, "QualityOfService.userInitiated") = 0x19,
  NSQualityOfServiceUtility SINCE(10.10, "QualityOfService.utility") = 0x11
};

SINCE(10.5, "Operation")
@interface NSOperation : NSObject
- (void)addDependency:(NSOperation*)op SINCE(10.5, "addDependency(_:)");
@end

SINCE(10.0, "NSURL")
@interface NSURL : NSObject
+ (instancetype)URLWithString:(NSString*)URLString SINCE(10.0, "URLWithString:");
@end
