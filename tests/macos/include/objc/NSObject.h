#pragma once

// The root of all classes, and what the language itself needs.

#include <Since.h>
#include <stddef.h>
#include <stdint.h>

typedef signed char BOOL SINCE(10.0, "BOOL");  // as on x86_64; bool on arm64
#define YES __objc_yes  // SINCE(10.0, "Boolean values")
#define NO __objc_no  // SINCE(10.0, "Boolean values")
#define nil __null  // SINCE(10.0, "nil")
typedef long NSInteger SINCE(10.5, "NSInteger");
typedef unsigned long NSUInteger SINCE(10.5, "NSUInteger");

@class NSString;

// As the system's own headers have them in C++: an enumeration is a type, a set of options a number.
#define NS_ENUM(type, name) enum name : type name; enum name : type
#define NS_OPTIONS(type, name) type name; enum : type

SINCE(10.0, "NSObject")
@protocol NSObject
@property(readonly, copy) NSString* description SINCE(10.0, "description");
- (BOOL)isKindOfClass:(Class)aClass SINCE(10.0, "isKindOfClass:");
@end

SINCE(10.0, "NSObject")
__attribute__((objc_root_class)) @interface NSObject<NSObject>
+ (instancetype)alloc SINCE(10.0, "alloc");
- (instancetype)init SINCE(10.0, "init");
+ (Class)class SINCE(10.0, "class");
@end
