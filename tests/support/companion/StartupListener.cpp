#include "tests/support/companion/StartupListener.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <stdexcept>

#include "platform/linux/x11/XcbServer.h"

namespace tevanto::test {

struct StartupListener::Connection {
  explicit Connection(const std::string& display) : xcb(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(xcb)) throw std::runtime_error("no X server on " + display);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;  // messages to it go to those
    xcb_change_window_attributes(xcb, root, XCB_CW_EVENT_MASK, &events);
    begin = atomNamed("_NET_STARTUP_INFO_BEGIN", xcb);
    more = atomNamed("_NET_STARTUP_INFO", xcb);
  }
  ~Connection() { xcb_disconnect(xcb); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  xcb_connection_t* const xcb;
  xcb_atom_t begin = XCB_ATOM_NONE;
  xcb_atom_t more = XCB_ATOM_NONE;
  std::map<xcb_window_t, std::string> unfinished;  // by the sender's window
};

StartupListener::StartupListener(const std::string& display)
    : connection_(std::make_unique<Connection>(display)) {}

StartupListener::~StartupListener() = default;

const std::vector<std::string>& StartupListener::messages() {
  while (auto* const event = xcb_poll_for_event(connection_->xcb)) {
    const auto& message = *reinterpret_cast<const xcb_client_message_event_t*>(event);
    const bool isOurs = (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message.format == 8 &&
                        (message.type == connection_->begin || message.type == connection_->more);
    if (isOurs) {
      auto& text = connection_->unfinished[message.window];
      if (message.type == connection_->begin) text.clear();
      const auto* const from = message.data.data8;
      const auto* const to = std::find(from, from + sizeof(message.data.data8), 0);
      text.append(from, to);
      if (to != from + sizeof(message.data.data8)) messages_.push_back(text);
    }
    std::free(event);
  }
  return messages_;
}

}  // namespace tevanto::test
