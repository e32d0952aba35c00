#include "platform/linux/x11/XInputConnection.h"

#include <poll.h>
#include <xcb/xtest.h>

#include "platform/linux/x11/XcbServer.h"
#include "platform/linux/x11/XcbXkb.h"

namespace tevanto {
namespace {

constexpr std::uint8_t kRelative = 1;
constexpr std::uint8_t kSentBit = 0x80;

}  // namespace

Result<std::shared_ptr<XInputConnection>> XInputConnection::connect(const std::string& displayName) {
  const auto server = XcbServer::connect(displayName);
  if (!server) return Failure{server.error()};
  const auto& [connection, root, number] = server.value();
  std::shared_ptr<XInputConnection> result(new XInputConnection(connection, *root));
  if (auto usable = result->useExtensions(); !usable) return Failure{usable.error()};
  return result;
}

XInputConnection::XInputConnection(xcb_connection_t* connection, const xcb_screen_t& screen)
    : connection_(connection),
      root_(screen.root),
      width_(screen.width_in_pixels),
      height_(screen.height_in_pixels) {}

XInputConnection::~XInputConnection() { xcb_disconnect(connection_); }

Result<void> XInputConnection::useExtensions() {
  const auto* xtest = xcb_get_extension_data(connection_, &xcb_test_id);
  if (!xtest || !xtest->present) return Failure{"The X server does not have the XTEST extension."};
  const auto* xkb = xcb_get_extension_data(connection_, &xcb_xkb_id);
  if (!xkb || !xkb->present) return Failure{"The X server does not have the XKB extension."};
  xkbEvent_ = xkb->first_event;
  const auto cookie = xcb_xkb_use_extension(connection_, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION);
  const XcbOwned<xcb_xkb_use_extension_reply_t> used(
      xcb_xkb_use_extension_reply(connection_, cookie, nullptr));
  if (!used || !used->supported) return Failure{"The X server's XKB extension is too old."};
  constexpr std::uint16_t kEvents = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
  constexpr std::uint16_t kParts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
  xcb_xkb_select_events(connection_, XCB_XKB_ID_USE_CORE_KBD, kEvents, 0, kEvents, kParts, kParts, nullptr);
  const std::uint32_t rootEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &rootEvents);
  xcb_flush(connection_);
  return {};
}

bool XInputConnection::alive() const {
  if (broken()) return false;
  pollfd socket{xcb_get_file_descriptor(connection_), POLLRDHUP, 0};
  return ::poll(&socket, 1, 0) == 0 || !(socket.revents & (POLLHUP | POLLERR | POLLRDHUP | POLLNVAL));
}

xcb_atom_t XInputConnection::atom(std::string_view name) const { return atomNamed(name, connection_); }

void XInputConnection::fakeKey(std::uint8_t keycode, bool down) const {
  xcb_test_fake_input(connection_, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, 0);
}

void XInputConnection::fakeButton(std::uint8_t button, bool down) const {
  xcb_test_fake_input(connection_, down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, 0);
}

void XInputConnection::fakeRelativeMotion(std::int16_t dx, std::int16_t dy) const {
  xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, kRelative, XCB_CURRENT_TIME, XCB_NONE, dx, dy, 0);
}

void XInputConnection::readEvents() {
  while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) handleEvent(*event);
}

void XInputConnection::handleEvent(const xcb_generic_event_t& event) {
  const auto type = static_cast<std::uint8_t>(event.response_type & ~kSentBit);
  if (type == XCB_CONFIGURE_NOTIFY) {
    const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
    if (configured.window != root_) return;
    width_ = configured.width;
    height_ = configured.height;
  } else if (type == XCB_MAPPING_NOTIFY) {
    const auto& mapping = reinterpret_cast<const xcb_mapping_notify_event_t&>(event);
    if (mapping.request == XCB_MAPPING_POINTER)
      buttonsChanged_ = true;
    else if (mapping.request == XCB_MAPPING_KEYBOARD)
      keyChanges_.push_back({mapping.first_keycode, mapping.count});
    else
      keyChanges_.push_back({0, -1});
  } else if (type == xkbEvent_ && event.pad0 == XCB_XKB_MAP_NOTIFY) {
    const auto& map = reinterpret_cast<const xcb_xkb_map_notify_event_t&>(event);
    if (map.changed & XCB_XKB_MAP_PART_KEY_SYMS) keyChanges_.push_back({map.firstKeySym, map.nKeySyms});
    if (map.changed & XCB_XKB_MAP_PART_KEY_TYPES) keyChanges_.push_back({0, -1});
  } else if (type == xkbEvent_ && event.pad0 == XCB_XKB_NEW_KEYBOARD_NOTIFY) {
    keyChanges_.push_back({0, -1});
  }
}

}  // namespace tevanto
