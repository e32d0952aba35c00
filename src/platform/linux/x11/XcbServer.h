#pragma once

#include <xcb/xcb.h>

#include <string>
#include <string_view>

#include "core/Result.h"

namespace tevanto {

/// XcbServer is a connection to an X server and the screen that it is for. The caller disconnects.
struct XcbServer {
  xcb_connection_t* connection;
  const xcb_screen_t* screen;
  int screenNumber;

  /// `displayName` has the form of DISPLAY; when empty, DISPLAY itself is used.
  static Result<XcbServer> connect(const std::string& displayName);
};

/// Returns XCB_ATOM_NONE when the server has gone.
xcb_atom_t atomNamed(std::string_view name, xcb_connection_t* connection);

}  // namespace tevanto
