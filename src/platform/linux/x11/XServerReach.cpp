#include "platform/linux/x11/XServerReach.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <string_view>

namespace tevanto {

bool canReachXServer() {
  const char* display = std::getenv("DISPLAY");
  if (!display || std::string_view(display).empty()) return false;
  auto* connection = xcb_connect(nullptr, nullptr);
  const bool answers = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return answers;
}

}  // namespace tevanto
