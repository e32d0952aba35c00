#include "platform/linux/x11/input/XPointerWindow.h"

#include <poll.h>
#include <xcb/xcb.h>

#include <cstdlib>

#include "platform/linux/x11/XcbServer.h"

namespace tevanto {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int16_t kCorner = 40;   // pixels from the screen's corner
constexpr std::uint16_t kExtent = 41;  // an odd number has a middle
constexpr int kMiddle = kExtent / 2;
constexpr std::int16_t kTolerance = 1;

}  // namespace

struct XPointerWindow::Core {
  explicit Core(xcb_connection_t* opened) : xcb(opened) {}
  ~Core() { xcb_disconnect(xcb); }
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  /// The next event, or null when none comes in time.
  xcb_generic_event_t* nextEvent(Clock::time_point deadline) const {
    while (xcb_connection_has_error(xcb) == 0) {
      if (auto* event = xcb_poll_for_event(xcb)) return event;
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) return nullptr;
      pollfd entry{xcb_get_file_descriptor(xcb), POLLIN, 0};
      ::poll(&entry, 1, static_cast<int>(left.count()));
    }
    return nullptr;
  }

  void showWindow(const xcb_screen_t& screen) {
    window = xcb_generate_id(xcb);
    const std::uint32_t values[] = {
        screen.black_pixel, 1,
        XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_ENTER_WINDOW | XCB_EVENT_MASK_EXPOSURE};
    // No window manager decides about it: it has to be where it says it is, and on top.
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, screen.root, kCorner, kCorner, kExtent, kExtent, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(xcb, window);
    xcb_flush(xcb);
  }

  bool waitForExpose(Clock::time_point deadline) const {
    while (auto* event = nextEvent(deadline)) {
      const bool exposed = (event->response_type & 0x7f) == XCB_EXPOSE;
      std::free(event);
      if (exposed) return true;
    }
    return false;
  }

  xcb_connection_t* const xcb;
  xcb_window_t window = XCB_NONE;
};

Result<std::unique_ptr<XPointerWindow>> XPointerWindow::open(const std::string& displayName) {
  const auto server = XcbServer::connect(displayName);
  if (!server) return Failure{"no X server takes us in"};
  auto connection = std::make_unique<Core>(server.value().connection);
  connection->showWindow(*server.value().screen);
  if (!connection->waitForExpose(Clock::now() + std::chrono::seconds(3))) {
    return Failure{"the X server does not show a window of ours"};
  }
  return std::unique_ptr<XPointerWindow>(new XPointerWindow(std::move(connection)));
}

XPointerWindow::XPointerWindow(std::unique_ptr<Core> connection) : core_(std::move(connection)) {}
XPointerWindow::~XPointerWindow() = default;

PointerLocation XPointerWindow::middle() const { return {kCorner + kMiddle, kCorner + kMiddle}; }

bool XPointerWindow::seesPointer(std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  while (auto* event = core_->nextEvent(deadline)) {
    const auto type = event->response_type & 0x7f;
    bool arrived = false;
    if (type == XCB_MOTION_NOTIFY || type == XCB_ENTER_NOTIFY) {
      // Both events have their coordinates in the same places.
      const auto* motion = reinterpret_cast<const xcb_motion_notify_event_t*>(event);
      arrived = std::abs(motion->event_x - kMiddle) <= kTolerance &&
                std::abs(motion->event_y - kMiddle) <= kTolerance;
    }
    std::free(event);
    if (arrived) return true;
  }
  return false;
}

}  // namespace tevanto
