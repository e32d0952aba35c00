#pragma once

#include <objc/NSObject.h>

@protocol OS_os_log
@end
typedef NSObject<OS_os_log>* os_log_t SINCE(10.12, "os_log_t");

typedef enum os_log_type_t : uint8_t {
  OS_LOG_TYPE_DEFAULT SINCE(10.12, "OS_LOG_TYPE_DEFAULT") = 0x00,
  OS_LOG_TYPE_INFO SINCE(10.12, "OS_LOG_TYPE_INFO") = 0x01,
  OS_LOG_TYPE_DEBUG SINCE(10.12, "OS_LOG_TYPE_DEBUG") = 0x02,
  OS_LOG_TYPE_ERROR SINCE(10.12, "OS_LOG_TYPE_ERROR") = 0x10,
} os_log_type_t;

extern "C" {
os_log_t os_log_create(const char* subsystem, const char* category) SINCE(10.12, "os_log_create");
// A macro in the system's header, which checks the format in the same way.
__attribute__((format(os_log, 3, 4))) void os_log_with_type(os_log_t log, os_log_type_t type, const char* format, ...) SINCE(10.12, "os_log_with_type");
}
