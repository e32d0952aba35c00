#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObject.h>

@class NSDate;
@class NSError;
@class NSURL;

typedef NSUInteger NSStringEncoding SINCE(10.0, "NSStringEncoding");
enum : NSStringEncoding { NSUTF8StringEncoding SINCE(10.0, "NSUTF8StringEncoding") = 4 };

SINCE(10.0, "NSData")
@interface NSData : NSObject
@property(readonly) NSUInteger length SINCE(10.0, "length");
@property(readonly) const void* bytes SINCE(10.0, "bytes");
@end

SINCE(10.0, "NSString")
@interface NSString : NSObject
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding SINCE(10.0, "initWithBytes:length:encoding:");
- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding SINCE(10.0, "dataUsingEncoding:");
@end

SINCE(10.0, "NSNumber")
@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value SINCE(10.0, "numberWithBool:");
+ (NSNumber*)numberWithInt:(int)value SINCE(10.0, "numberWithInt:");
@end

SINCE(10.0, "NSDictionary")
@interface NSDictionary<KeyType, ObjectType> : NSObject
+ (instancetype)dictionaryWithObjects:(const ObjectType[])objects
                              forKeys:(const KeyType[])keys
                                count:(NSUInteger)count SINCE(10.0, "dictionaryWithObjects:forKeys:count:");
- (ObjectType)objectForKeyedSubscript:(KeyType)key SINCE(10.8, "objectForKeyedSubscript:");
@end

SINCE(10.0, "NSURL")
@interface NSURL : NSObject
+ (instancetype)URLWithString:(NSString*)URLString SINCE(10.0, "URLWithString:");
@end
