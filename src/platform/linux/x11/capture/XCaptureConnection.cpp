#include "platform/linux/x11/capture/XCaptureConnection.h"

#include <sys/socket.h>
#include <xcb/randr.h>
#include <xcb/xinput.h>

#include <algorithm>

#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

constexpr std::uint8_t kSentBit = 0x80;

// Pixels have to be 32 bits of blue, green and red, as every desktop of today has them.
bool hasUsablePixels(const xcb_setup_t& setup, const xcb_screen_t& screen) {
  if (setup.image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) return false;
  bool usable = false;
  for (auto formats = xcb_setup_pixmap_formats_iterator(&setup); formats.rem; xcb_format_next(&formats)) {
    if (formats.data->depth == screen.root_depth) usable = formats.data->bits_per_pixel == 32;
  }
  for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem; xcb_depth_next(&depths)) {
    for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem; xcb_visualtype_next(&visuals)) {
      if (visuals.data->visual_id == screen.root_visual && visuals.data->red_mask != 0xFF0000) usable = false;
    }
  }
  return usable;
}

}  // namespace

Result<std::shared_ptr<XCaptureConnection>> XCaptureConnection::connect(const std::string& displayName) {
  const auto server = XcbServer::connect(displayName);
  if (!server) return Failure{server.error()};
  const auto& [connection, root, number] = server.value();
  std::shared_ptr<XCaptureConnection> screen(new XCaptureConnection(connection, *root));
  if (!hasUsablePixels(*xcb_get_setup(connection), *root)) {
    return Failure{"The screen's pixels are not 32 bits of red, green and blue."};
  }
  if (auto usable = screen->useExtensions(); !usable) return Failure{usable.error()};
  return screen;
}

XCaptureConnection::XCaptureConnection(xcb_connection_t* connection, const xcb_screen_t& screen)
    : connection_(connection),
      root_(screen.root),
      whole_{0, 0, screen.width_in_pixels, screen.height_in_pixels} {}

XCaptureConnection::~XCaptureConnection() { xcb_disconnect(connection_); }

void XCaptureConnection::interrupt() const { ::shutdown(xcb_get_file_descriptor(connection_), SHUT_RDWR); }

Result<void> XCaptureConnection::useExtensions() {
  for (auto* extension : {&xcb_damage_id, &xcb_xfixes_id, &xcb_randr_id, &xcb_input_id}) {
    xcb_prefetch_extension_data(connection_, extension);
  }
  const auto present = [this](xcb_extension_t& id) {
    const auto* data = xcb_get_extension_data(connection_, &id);
    return data && data->present ? data : nullptr;
  };
  const auto* damage = present(xcb_damage_id);
  const auto* fixes = present(xcb_xfixes_id);
  if (!damage || !fixes) return Failure{"The X server does not have the DAMAGE and XFIXES extensions."};
  damageEvent_ = damage->first_event;
  fixesEvent_ = fixes->first_event;
  const auto damageVersion = xcb_damage_query_version(connection_, 1, 1);
  const auto fixesVersion = xcb_xfixes_query_version(connection_, 5, 0);
  if (const auto* randr = present(xcb_randr_id)) {
    randrEvent_ = randr->first_event;
    const auto cookie = xcb_randr_query_version(connection_, 1, 5);
    const XcbOwned<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection_, cookie, nullptr));
    hasMonitors_ = version && (version->major_version > 1 || version->minor_version >= 5);
  }
  if (const auto* input = present(xcb_input_id)) {
    const auto cookie = xcb_input_xi_query_version(connection_, 2, 2);
    const XcbOwned<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(connection_, cookie, nullptr));
    if (version && version->major_version >= 2) inputOpcode_ = input->major_opcode;
  }
  const XcbOwned<xcb_damage_query_version_reply_t> a(
      xcb_damage_query_version_reply(connection_, damageVersion, nullptr));
  const XcbOwned<xcb_xfixes_query_version_reply_t> b(
      xcb_xfixes_query_version_reply(connection_, fixesVersion, nullptr));
  if (!a || !b) return Failure{"The X server's DAMAGE and XFIXES extensions do not answer."};
  return {};
}

std::vector<XMonitor> XCaptureConnection::monitors() const {
  if (!hasMonitors_) return {{{1, whole_.width, whole_.height, true}, whole_}};
  const auto cookie = xcb_randr_get_monitors(connection_, root_, 1);
  const XcbOwned<xcb_randr_get_monitors_reply_t> reply(
      xcb_randr_get_monitors_reply(connection_, cookie, nullptr));
  std::vector<XMonitor> all;
  if (!reply) return all;
  for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem;
       xcb_randr_monitor_info_next(&each)) {
    const auto& monitor = *each.data;
    if (monitor.width < 2 || monitor.height < 2) continue;
    const PixelRect area{monitor.x, monitor.y, monitor.width, monitor.height};
    all.push_back({{monitor.name, area.width, area.height, monitor.primary != 0}, area});
  }
  const bool hasMain =
      std::any_of(all.begin(), all.end(), [](const auto& monitor) { return monitor.display.isMain; });
  if (!hasMain && !all.empty()) all.front().display.isMain = true;
  return all;
}

Result<void> XCaptureConnection::subscribe() {
  const std::uint32_t rootEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &rootEvents);
  if (hasMonitors_) {
    constexpr std::uint16_t kLayoutEvents = XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                            XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                            XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE;
    xcb_randr_select_input(connection_, root_, kLayoutEvents);
  }
  xcb_xfixes_select_cursor_input(connection_, root_, XCB_XFIXES_CURSOR_NOTIFY_MASK_DISPLAY_CURSOR);
  drawn_ = xcb_generate_id(connection_);
  xcb_xfixes_create_region(connection_, drawn_, 0, nullptr);
  damage_ = xcb_generate_id(connection_);
  // One event when something is drawn, and no other until what was drawn has been taken.
  const auto cookie =
      xcb_damage_create_checked(connection_, damage_, root_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  const XcbOwned<xcb_generic_error_t> error(xcb_request_check(connection_, cookie));
  if (error || broken()) return Failure{"The X server does not tell what is drawn."};
  return {};
}

// Raw motion is reported for every step of the mouse, a thousand times a second with some: once it has been
// seen there is nothing more to learn from it until the next picture.
void XCaptureConnection::watchPointer(bool watched) {
  if (inputOpcode_ == 0 || watchesPointer_ == watched) return;
  watchesPointer_ = watched;
  const struct {
    xcb_input_event_mask_t header;
    std::uint32_t mask;
  } request{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
            watched ? static_cast<std::uint32_t>(XCB_INPUT_XI_EVENT_MASK_RAW_MOTION) : 0};
  xcb_input_xi_select_events(connection_, root_, 1, &request.header);
}

XCaptureConnection::Changes XCaptureConnection::readEvents() {
  Changes changes;
  while (const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
    handleEvent(*event, changes);
  if (changes.pointerMoved) watchPointer(false);
  xcb_flush(connection_);
  return changes;
}

void XCaptureConnection::handleEvent(const xcb_generic_event_t& event, Changes& changes) {
  const auto type = static_cast<std::uint8_t>(event.response_type & ~kSentBit);
  if (type == damageEvent_ + XCB_DAMAGE_NOTIFY) {
    changes.picture = true;
  } else if (type == fixesEvent_ + XCB_XFIXES_CURSOR_NOTIFY) {
    changes.pointerShape = true;
  } else if (type == XCB_CONFIGURE_NOTIFY) {
    const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
    if (configured.window != root_) return;
    whole_ = {0, 0, configured.width, configured.height};
    changes.layout = true;
  } else if (randrEvent_ != 0 && (type == randrEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                                  type == randrEvent_ + XCB_RANDR_NOTIFY)) {
    changes.layout = true;
  } else if (inputOpcode_ != 0 && type == XCB_GE_GENERIC) {
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension == inputOpcode_ && generic.event_type == XCB_INPUT_RAW_MOTION) {
      changes.pointerMoved = true;
    }
  }
}

std::optional<XCaptureConnection::Activity> XCaptureConnection::takeActivity() {
  // Before the pointer is asked for, so that no step of it falls between.
  watchPointer(true);
  xcb_damage_subtract(connection_, damage_, XCB_NONE, drawn_);
  const auto regionCookie = xcb_xfixes_fetch_region(connection_, drawn_);
  const auto pointerCookie = xcb_query_pointer(connection_, root_);
  const XcbOwned<xcb_xfixes_fetch_region_reply_t> region(
      xcb_xfixes_fetch_region_reply(connection_, regionCookie, nullptr));
  const XcbOwned<xcb_query_pointer_reply_t> pointer(
      xcb_query_pointer_reply(connection_, pointerCookie, nullptr));
  if (!region || !pointer) return std::nullopt;
  Activity activity;
  const auto* rects = xcb_xfixes_fetch_region_rectangles(region.get());
  const int count = xcb_xfixes_fetch_region_rectangles_length(region.get());
  for (int i = 0; i < count; ++i) {
    activity.drawn.push_back({rects[i].x, rects[i].y, rects[i].width, rects[i].height});
  }
  if (pointer->same_screen) activity.pointer = PointerPosition{pointer->root_x, pointer->root_y};
  return activity;
}

}  // namespace tevanto
