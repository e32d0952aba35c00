#include "platform/linux/XcbServer.h"

namespace tevanto {

Result<XcbServer> XcbServer::connect(const std::string& displayName) {
  int screenNumber = 0;
  auto* connection = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
  if (xcb_connection_has_error(connection)) {
    xcb_disconnect(connection);
    return Failure{"No X server answers on " + (displayName.empty() ? "DISPLAY" : displayName) + "."};
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  while (screenNumber-- > 0 && screens.rem > 1) xcb_screen_next(&screens);
  return XcbServer{connection, screens.data};
}

}  // namespace tevanto
