#include "platform/linux/x11/XDesktop.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

constexpr std::uint32_t kLongestResources = 64 * 1024;  // in words

bool isOwned(xcb_connection_t* connection, std::string_view selection) {
  const auto cookie = xcb_get_selection_owner(connection, atomNamed(selection, connection));
  const XcbOwned<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(connection, cookie, nullptr));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

/// "Xft.dpi:\t144\n" among the lines of the resources.
std::optional<double> dotsPerInchIn(const std::string& resources) {
  constexpr std::string_view kName = "Xft.dpi:";
  auto found = resources.find(kName);
  while (found != std::string::npos && found > 0 && resources[found - 1] != '\n')
    found = resources.find(kName, found + 1);
  if (found == std::string::npos) return std::nullopt;
  const double value = std::strtod(resources.c_str() + found + kName.size(), nullptr);
  if (value <= 0) return std::nullopt;
  return value;
}

std::string resourcesOf(xcb_connection_t* connection, xcb_window_t root) {
  const auto cookie =
      xcb_get_property(connection, 0, root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 0, kLongestResources);
  const XcbOwned<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
  if (!reply) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

}  // namespace

std::optional<XDesktop> XDesktop::current() {
  const auto server = XcbServer::connect({});
  if (!server) return std::nullopt;
  const XcbConnection connection(server.value().connection);
  // The resources are the first screen's, whichever one the display's name has.
  const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
  return XDesktop{isOwned(connection.get(), "_NET_SYSTEM_TRAY_S0"),
                  isOwned(connection.get(), "_NET_WM_CM_S0"),
                  dotsPerInchIn(resourcesOf(connection.get(), root))};
}

}  // namespace tevanto
