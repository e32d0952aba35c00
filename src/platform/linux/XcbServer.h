#pragma once

#include <xcb/xcb.h>

#include <string>

#include "core/Result.h"

namespace tevanto {

/// A connection to an X server and the screen that it is for. The caller disconnects.
struct XcbServer {
  xcb_connection_t* connection;
  const xcb_screen_t* screen;

  /// `displayName`: as DISPLAY has it; empty: what DISPLAY says.
  static Result<XcbServer> connect(const std::string& displayName);
};

}  // namespace tevanto
