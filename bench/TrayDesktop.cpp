#include "bench/TrayDesktop.h"

#include <xcb/xtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "platform/linux/x11/XcbOwned.h"
#include "platform/linux/x11/XcbServer.h"

namespace tevanto::bench {
namespace {

constexpr auto kTimeout = std::chrono::seconds(30);
constexpr auto kPause = std::chrono::microseconds(200);
constexpr std::uint16_t kTraySize = 32;
/// Smaller ones are icons, and windows that nobody is meant to see.
constexpr std::uint16_t kSmallestWindow = 100;
/// In from the edge, where a rounded corner has ended.
constexpr std::int16_t kLookedAt = 16;
constexpr std::uint32_t kRequestDock = 0;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "ui_bench: %s\n", what);
  std::exit(1);
}

template <class Condition>
void await(Condition condition, const char* what) {
  const auto deadline = Clock::now() + kTimeout;
  while (!condition()) {
    if (Clock::now() > deadline) fail(what);
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace

TrayDesktop::TrayDesktop() : connection_(xcb_connect(nullptr, nullptr)) {
  if (xcb_connection_has_error(connection_)) fail("no X server");
  root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  // Black, as a window is that nobody has drawn yet.
  const std::uint32_t attributes[] = {0, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY};
  xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, attributes);
  xcb_clear_area(connection_, 0, root_, 0, 0, 0, 0);
  becomeTray();
}

TrayDesktop::~TrayDesktop() { xcb_disconnect(connection_); }

void TrayDesktop::becomeTray() {
  trayMessage_ = atom("_NET_SYSTEM_TRAY_OPCODE");
  const auto selection = atom("_NET_SYSTEM_TRAY_S0");
  tray_ = xcb_generate_id(connection_);
  const std::uint32_t overrideRedirect = 1;
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, tray_, root_, 0, 0, kTraySize, kTraySize, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                    &overrideRedirect);
  xcb_map_window(connection_, tray_);
  xcb_set_selection_owner(connection_, tray_, selection, XCB_CURRENT_TIME);
  xcb_client_message_data_t data{};
  data.data32[1] = selection;
  data.data32[2] = tray_;
  send(root_, "MANAGER", data, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
}

void TrayDesktop::forgetWindow() {
  // With an answer from the server, all that it had to tell before is here, too.
  static_cast<void>(atom("MANAGER"));
  takeEvents();
  window_ = XCB_WINDOW_NONE;
}

void TrayDesktop::send(xcb_window_t to, const char* type, const xcb_client_message_data_t& data,
                       std::uint32_t mask) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = to;
  message.type = atom(type);
  message.data = data;
  xcb_send_event(connection_, 0, to, mask, reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

void TrayDesktop::takeEvents() {
  while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
    const int type = event->response_type & 0x7f;
    if (type == XCB_MAP_NOTIFY)
      noteMapped(reinterpret_cast<const xcb_map_notify_event_t*>(event.get())->window);
    if (type != XCB_CLIENT_MESSAGE) continue;
    const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
    if (message->type == trayMessage_ && message->data.data32[1] == kRequestDock)
      dock(message->data.data32[2]);
  }
}

void TrayDesktop::noteMapped(xcb_window_t window) {
  if (window_ != XCB_WINDOW_NONE) return;
  const XcbOwned<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
  if (geometry && geometry->width >= kSmallestWindow) window_ = window;
}

void TrayDesktop::dock(xcb_window_t icon) {
  icon_ = icon;
  const std::uint32_t size[] = {kTraySize, kTraySize};
  xcb_reparent_window(connection_, icon, tray_, 0, 0);
  xcb_configure_window(connection_, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
  xcb_map_window(connection_, icon);
  xcb_flush(connection_);
}

Clock::time_point TrayDesktop::awaitFirstFrame() {
  await(
      [this] {
        takeEvents();
        return window_ != XCB_WINDOW_NONE && isPainted();
      },
      "no window appears");
  return Clock::now();
}

bool TrayDesktop::isPainted() {
  const auto cookie =
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, kLookedAt, kLookedAt, 1, 1, ~0U);
  const XcbOwned<xcb_get_image_reply_t> image(xcb_get_image_reply(connection_, cookie, nullptr));
  if (!image || xcb_get_image_data_length(image.get()) < 4) return false;
  const auto* pixel = xcb_get_image_data(image.get());
  return pixel[0] != 0 || pixel[1] != 0 || pixel[2] != 0;
}

int TrayDesktop::windowHeight() {
  const XcbOwned<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window_), nullptr));
  return geometry ? geometry->height : 0;
}

bool TrayDesktop::isWindowShown() {
  const auto cookie = xcb_get_window_attributes(connection_, window_);
  const XcbOwned<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(connection_, cookie, nullptr));
  return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

void TrayDesktop::closeWindow() {
  xcb_client_message_data_t data{};
  data.data32[0] = atom("WM_DELETE_WINDOW");
  send(window_, "WM_PROTOCOLS", data, XCB_EVENT_MASK_NO_EVENT);
  awaitWindowGone();
}

void TrayDesktop::awaitWindowGone() {
  await([this] { return !isWindowShown(); }, "the window does not close");
}

void TrayDesktop::awaitIcon() {
  await(
      [this] {
        takeEvents();
        return icon_ != XCB_WINDOW_NONE;
      },
      "no icon comes into the tray");
}

Clock::time_point TrayDesktop::clickIcon() {
  constexpr std::uint8_t kFirstButton = 1;
  xcb_test_fake_input(connection_, XCB_MOTION_NOTIFY, 0, 0, root_, kTraySize / 2, kTraySize / 2, 0);
  xcb_flush(connection_);
  const auto pressed = Clock::now();
  xcb_test_fake_input(connection_, XCB_BUTTON_PRESS, kFirstButton, 0, root_, 0, 0, 0);
  xcb_test_fake_input(connection_, XCB_BUTTON_RELEASE, kFirstButton, 0, root_, 0, 0, 0);
  xcb_flush(connection_);
  return pressed;
}

xcb_atom_t TrayDesktop::atom(const std::string& name) { return atomNamed(name, connection_); }

}  // namespace tevanto::bench
