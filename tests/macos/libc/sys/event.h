#pragma once

// kqueue(2), which Boost.Asio waits with on a Mac.

#include <stdint.h>
#include <time.h>

#define EVFILT_READ (-1)
#define EVFILT_WRITE (-2)
#define EV_ADD 0x0001
#define EV_DELETE 0x0002
#define EV_ONESHOT 0x0010
#define EV_CLEAR 0x0020
#define EV_FLAG0 0x1000
#define EV_OOBAND 0x2000
#define EV_ERROR 0x4000
#define EV_EOF 0x8000

struct kevent {
  uintptr_t ident;
  int16_t filter;
  uint16_t flags;
  uint32_t fflags;
  intptr_t data;
  void* udata;
};
#define EV_SET(event, a, b, c, d, e, f) \
  do {                                  \
    struct kevent* made = (event);      \
    made->ident = (a);                  \
    made->filter = (b);                 \
    made->flags = (c);                  \
    made->fflags = (d);                 \
    made->data = (e);                   \
    made->udata = (f);                  \
  } while (0)

extern "C" {
int kqueue(void);
int kevent(int queue, const struct kevent* changes, int changeCount, struct kevent* events, int eventCount, const struct timespec* wait);
}
