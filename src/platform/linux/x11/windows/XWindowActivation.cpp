#include "platform/linux/x11/windows/XWindowActivation.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

constexpr std::uint32_t kSourceIsApplication = 1;

class Connection {
 public:
  explicit Connection(const XcbServer& server)
      : owned_(server.connection),
        connection_(server.connection),
        root_(server.screen->root),
        own_(xcb_generate_id(connection_)) {
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, own_, root_, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
  }

  void set(xcb_window_t window, const char* property, std::uint32_t value) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), XCB_ATOM_CARDINAL, 32, 1,
                        &value);
  }
  void set(xcb_window_t window, const char* property, const std::string& value) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), atom("UTF8_STRING"), 8,
                        static_cast<std::uint32_t>(value.size()), value.data());
  }

  /// By an event that the server stamps.
  std::uint32_t serverTime() {
    xcb_change_property(connection_, XCB_PROP_MODE_APPEND, own_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, "");
    xcb_flush(connection_);
    while (const XcbOwned<xcb_generic_event_t> event{xcb_wait_for_event(connection_)}) {
      if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY) continue;
      return reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
    }
    return XCB_CURRENT_TIME;
  }

  void askForFocus(xcb_window_t window, std::uint32_t time) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = kSourceIsApplication;
    message.data.data32[1] = time;
    sendToRoot(message, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
  }

  /// In pieces of twenty bytes, the last of which holds the closing zero.
  void endStartup(const std::string& identifier) {
    const auto text = "remove: ID=" + identifier;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = own_;
    message.type = atom("_NET_STARTUP_INFO_BEGIN");
    constexpr std::size_t kPiece = sizeof(message.data.data8);
    for (std::size_t at = 0; at <= text.size(); at += kPiece) {
      std::fill_n(message.data.data8, kPiece, std::uint8_t{0});
      std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(at), std::min(kPiece, text.size() - at),
                  message.data.data8);
      sendToRoot(message, XCB_EVENT_MASK_PROPERTY_CHANGE);
      message.type = atom("_NET_STARTUP_INFO");
    }
  }

  /// Returns when the server has it all.
  void settle() {
    const XcbOwned<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  }

 private:
  xcb_atom_t atom(std::string_view name) const { return atomNamed(name, connection_); }

  void sendToRoot(const xcb_client_message_event_t& message, std::uint32_t mask) {
    xcb_send_event(connection_, 0, root_, mask, reinterpret_cast<const char*>(&message));
  }

  const XcbConnection owned_;
  xcb_connection_t* const connection_;
  const xcb_window_t root_;
  const xcb_window_t own_;
};

/// Tells the time of the user's action, which is now where nothing tells otherwise.
std::uint32_t mark(Connection& server, std::uint32_t window, const std::string& identifier) {
  auto time = XWindowActivation::timeOf(identifier);
  if (time == 0) time = server.serverTime();
  server.set(window, "_NET_WM_USER_TIME", time);
  if (!identifier.empty()) server.set(window, "_NET_STARTUP_ID", identifier);
  return time;
}

}  // namespace

void XWindowActivation::prepare(std::uint32_t window) const {
  const auto reached = XcbServer::connect({});
  if (!reached) return;
  Connection server(reached.value());
  mark(server, window, identifier_);
  if (!identifier_.empty()) server.endStartup(identifier_);
  server.settle();
}

void XWindowActivation::activate(std::uint32_t window) const {
  const auto reached = XcbServer::connect({});
  if (!reached) return;
  Connection server(reached.value());
  server.askForFocus(window, mark(server, window, identifier_));
  if (!identifier_.empty()) server.endStartup(identifier_);
  server.settle();
}

std::uint32_t XWindowActivation::timeOf(const std::string& startupIdentifier) {
  constexpr std::string_view kMark = "_TIME";
  const auto found = startupIdentifier.rfind(kMark);
  if (found == std::string::npos) return 0;
  const auto digits = std::string_view(startupIdentifier).substr(found + kMark.size());
  std::uint32_t time = 0;
  const auto [rest, error] = std::from_chars(digits.begin(), digits.end(), time);
  return error == std::errc() && rest == digits.end() ? time : 0;
}

}  // namespace tevanto
