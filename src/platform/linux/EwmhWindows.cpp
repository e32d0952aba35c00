#include "platform/linux/EwmhWindows.h"

#include <strings.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace tevanto {
namespace {

struct Disconnect {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
struct Free {
  void operator()(void* reply) const { std::free(reply); }
};
template <class T>
using Reply = std::unique_ptr<T, Free>;

/// One look at the windows of the display.
class Display {
 public:
  Display() : connection_(xcb_connect(nullptr, &screenNumber_)) {}

  bool ok() const { return xcb_connection_has_error(connection_.get()) == 0; }

  xcb_window_t root() const {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (int i = 0; i < screenNumber_ && screens.rem > 1; ++i) xcb_screen_next(&screens);
    return screens.data->root;
  }

  /// XCB_ATOM_NONE when nobody on this display has ever used the name.
  xcb_atom_t atom(std::string_view name) const {
    const auto cookie =
        xcb_intern_atom(connection_.get(), 1, static_cast<std::uint16_t>(name.size()), name.data());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_.get(), cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }

  /// A property's value as items of `Item`'s width; empty when it has another format.
  template <class Item>
  std::vector<Item> property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const {
    constexpr std::uint32_t kMaxWords = 16384;
    if (name == XCB_ATOM_NONE) return {};
    const auto cookie = xcb_get_property(connection_.get(), 0, window, name, type, 0, kMaxWords);
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_.get(), cookie, nullptr));
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
    xcb_send_event(connection_.get(), 0, root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    // A round trip, so that the message has arrived before the connection is closed.
    const auto cookie = xcb_get_input_focus(connection_.get());
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_.get(), cookie, nullptr));
  }

 private:
  int screenNumber_ = 0;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
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
  const Display display;
  if (!display.ok()) return false;
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
