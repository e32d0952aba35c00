#pragma once

#include <stddef.h>

struct malloc_statistics_t {
  unsigned blocks_in_use;
  size_t size_in_use;
  size_t max_size_in_use;
  size_t size_allocated;
};
typedef struct _malloc_zone_t malloc_zone_t;

extern "C" {
void malloc_zone_statistics(malloc_zone_t* zone, malloc_statistics_t* statistics);
}
