#pragma once

#include <Since.h>
#include <stdint.h>

extern "C" {
int _NSGetExecutablePath(char* buf, uint32_t* bufsize) SINCE(10.2, "dyld(3)");
}
