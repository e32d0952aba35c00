#pragma once

#include <stdint.h>

#define PROC_PIDTASKINFO 4

/// Only what the tests look at.
struct proc_taskinfo {
  uint64_t pti_resident_size;
  int32_t pti_threadnum;
};

extern "C" {
int proc_pidinfo(int process, int flavour, uint64_t argument, void* buffer, int size);
}
