#pragma once

#include <Since.h>
#include <stdbool.h>
#include <stdint.h>

// "Core Foundation": types of the framework and what is done with them.

typedef unsigned char Boolean SINCE(10.0, "Boolean");

typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef SINCE(10.0, "CFString");
typedef const struct __attribute__((objc_bridge(NSDictionary))) __CFDictionary* CFDictionaryRef SINCE(10.0, "CFDictionary");


