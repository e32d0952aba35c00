#pragma once

#include <Since.h>
#include_next <sys/socket.h>

#define SO_RECV_ANYIF 0x1104  // SINCE(10.9, "none; sys/socket.h of the kernel's published sources")
