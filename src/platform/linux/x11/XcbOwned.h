#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

namespace tevanto {

/// FreeDeleter frees memory that the C library allocated.
struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
/// XcbOwned owns a reply or an event of XCB, which is freed.
template <class T>
using XcbOwned = std::unique_ptr<T, FreeDeleter>;

/// XcbDisconnect closes a connection to an X server.
struct XcbDisconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
/// XcbConnection owns a connection to an X server.
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;

}  // namespace tevanto
