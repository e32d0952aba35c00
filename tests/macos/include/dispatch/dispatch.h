#pragma once

#include <objc/NSObject.h>
#include <stddef.h>
#include <stdint.h>

// "Dispatch": queues.

SINCE(10.8, "dispatch_queue_t")
@protocol OS_dispatch_queue <NSObject>
@end
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t SINCE(10.6, "dispatch_queue_t");
typedef NSObject* dispatch_queue_attr_t SINCE(10.6, "dispatch_queue_attr_t");
typedef void (^dispatch_block_t)(void) SINCE(10.6, "dispatch_block_t");
typedef uint64_t dispatch_time_t SINCE(10.6, "dispatch_time_t");

#define DISPATCH_QUEUE_SERIAL nullptr  // SINCE(10.7, "DISPATCH_QUEUE_SERIAL")
#define DISPATCH_TIME_NOW (0ull)       // SINCE(10.6, "DISPATCH_TIME_NOW")
enum : unsigned int {
  QOS_CLASS_UTILITY SINCE(10.10, "QOS_CLASS_UTILITY") = 0x11
};

extern "C" {
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr) SINCE(10.6, "dispatch_queue_create");
dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags) SINCE(10.6, "dispatch_get_global_queue");
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) SINCE(10.6, "dispatch_async");
void dispatch_sync(dispatch_queue_t queue, dispatch_block_t block) SINCE(10.6, "dispatch_sync");
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) SINCE(10.6, "dispatch_after");
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) SINCE(10.6, "dispatch_time");
}
