#include "platform/linux/x11/XcbServer.h"

#include <cstdint>

#include "platform/linux/x11/XcbOwned.h"

namespace tevanto {

Result<XcbServer> XcbServer::connect(const std::string& displayName) {
  int screenNumber = 0;
  auto* connection = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
  if (xcb_connection_has_error(connection)) {
    xcb_disconnect(connection);
    return Failure{"No X server answers on " + (displayName.empty() ? "DISPLAY" : displayName) + "."};
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (int i = 0; i < screenNumber && screens.rem > 1; ++i) xcb_screen_next(&screens);
  return XcbServer{connection, screens.data, screenNumber};
}

xcb_atom_t atomNamed(std::string_view name, xcb_connection_t* connection) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const XcbOwned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace tevanto
