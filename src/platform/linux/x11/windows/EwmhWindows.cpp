#include "platform/linux/x11/windows/EwmhWindows.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/display/WindowIdentity.h"
#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

/// One look at the windows of the display.
class Display {
 public:
  explicit Display(const XcbServer& server) : connection_(server.connection), root_(server.screen->root) {}

  xcb_window_t root() const { return root_; }
  xcb_atom_t atom(std::string_view name) const { return atomNamed(name, connection_.get()); }

  /// A property's value as items of `Item`'s width; empty when it has another format.
  template <class Item>
  std::vector<Item> property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const {
    constexpr std::uint32_t kMaxWords = 16384;
    const auto cookie = xcb_get_property(connection_.get(), 0, window, name, type, 0, kMaxWords);
    const XcbOwned<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_.get(), cookie, nullptr));
    if (!reply || reply->format != 8 * sizeof(Item)) return {};
    const auto* items = static_cast<const Item*>(xcb_get_property_value(reply.get()));
    return std::vector<Item>(items, items + reply->value_len);
  }

  std::string text(xcb_window_t window, xcb_atom_t name) const {
    const auto value = property<char>(window, name, XCB_GET_PROPERTY_TYPE_ANY);
    return std::string(value.begin(), value.end());
  }

  void activate(xcb_window_t window, xcb_atom_t message) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = message;
    event.data.data32[0] = 2;  // on behalf of the user, as a pager
    event.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection_.get(), 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    // A round trip, so that the message has arrived before the connection is closed.
    const auto cookie = xcb_get_input_focus(connection_.get());
    const XcbOwned<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_.get(), cookie, nullptr));
  }

 private:
  const XcbConnection connection_;
  const xcb_window_t root_;
};

bool sameText(const std::string& a, const std::string& b) {
  return !a.empty() && a.size() == b.size() && ::strcasecmp(a.c_str(), b.c_str()) == 0;
}

bool belongsTo(const WindowIdentity& application, const Display& display, xcb_window_t window,
               xcb_atom_t applicationIdName) {
  if (sameText(display.text(window, applicationIdName), application.applicationId)) return true;
  // WM_CLASS holds two texts, each ended by a zero byte.
  const auto both = display.text(window, XCB_ATOM_WM_CLASS);
  const std::string first(both.c_str());
  const std::string second = both.size() > first.size() ? std::string(both.c_str() + first.size() + 1) : "";
  return std::any_of(application.classes.begin(), application.classes.end(),
                     [&](const auto& name) { return sameText(name, first) || sameText(name, second); });
}

}  // namespace

bool raiseWindowOf(const WindowIdentity& application) {
  const char* name = std::getenv("DISPLAY");
  if (!name || !*name) return false;
  const auto server = XcbServer::connect(name);
  if (!server) return false;
  const Display display(server.value());
  const auto activeWindow = display.atom("_NET_ACTIVE_WINDOW");
  const auto supported =
      display.property<xcb_atom_t>(display.root(), display.atom("_NET_SUPPORTED"), XCB_ATOM_ATOM);
  if (std::find(supported.begin(), supported.end(), activeWindow) == supported.end()) return false;
  const auto windows = display.property<xcb_window_t>(
      display.root(), display.atom("_NET_CLIENT_LIST_STACKING"), XCB_ATOM_WINDOW);  // the topmost one last
  const auto applicationId = display.atom("_GTK_APPLICATION_ID");
  const auto found = std::find_if(windows.rbegin(), windows.rend(), [&](xcb_window_t window) {
    return belongsTo(application, display, window, applicationId);
  });
  if (found == windows.rend()) return false;
  display.activate(*found, activeWindow);
  return true;
}

}  // namespace tevanto
