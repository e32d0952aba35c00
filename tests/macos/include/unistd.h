#pragma once

#include <Since.h>
#include_next <unistd.h>

extern "C" {
int getpeereid(int s, uid_t* euid, gid_t* egid) SINCE(10.3, "getpeereid(3)");
}
