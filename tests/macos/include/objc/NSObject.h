#pragma once

// The root of all classes, and what the language itself needs.

#include <Since.h>
#include <stddef.h>
#include <stdint.h>

typedef signed char BOOL SINCE(10.0, "BOOL");  // as on x86_64; bool on arm64
#define YES __objc_yes                         // SINCE(10.0, "Boolean values")
typedef unsigned long NSUInteger SINCE(10.5, "NSUInteger");

#define NS_ENUM(type, name) enum name : type name; enum name : type
#define NS_OPTIONS(type, name) enum name : type name; enum name : type

SINCE(10.0, "NSObject")
@protocol NSObject
@end

SINCE(10.0, "NSObject")
__attribute__((objc_root_class)) @interface NSObject<NSObject>
+ (instancetype)alloc SINCE(10.0, "alloc");
@end
