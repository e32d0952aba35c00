#pragma once

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Result.h"
#include "platform/linux/x11/XcbOwned.h"
#include "screen/capture/DisplayCapture.h"
#include "screen/picture/ChangedArea.h"

namespace tevanto {

/// A display and where it lies on the X screen, in pixels.
struct XMonitor {
  ShareableDisplay display;
  PixelRect area;

  bool operator==(const XMonitor&) const = default;
};

struct PointerPosition {
  int x = 0;  // on the X screen, in pixels
  int y = 0;

  bool operator==(const PointerPosition&) const = default;
};

/// One connection to an X server, and what capturing wants to know of its screen. One queue, besides
/// `interrupt`; internal to the adapters of capture.
class XCaptureConnection {
 public:
  /// Blocks for a few round trips. An empty name means what DISPLAY says.
  static Result<std::shared_ptr<XCaptureConnection>> connect(const std::string& displayName);
  ~XCaptureConnection();
  XCaptureConnection(const XCaptureConnection&) = delete;
  XCaptureConnection& operator=(const XCaptureConnection&) = delete;

  xcb_connection_t* xcb() const { return connection_; }
  xcb_window_t root() const { return root_; }
  bool broken() const { return xcb_connection_has_error(connection_) != 0; }
  /// Ends the connection for whoever waits for an answer on it. Any thread, while the object lives.
  void interrupt() const;
  bool flush() const { return xcb_flush(connection_) > 0; }

  /// The displays by RandR, the whole screen where the server has no such extension.
  std::vector<XMonitor> monitors() const;

  /// Asks for the events that `readEvents` sorts.
  Result<void> subscribe();
  struct Changes {
    bool picture = false;
    bool pointerMoved = false;
    bool pointerShape = false;
    bool layout = false;

    bool any() const { return picture || pointerMoved || pointerShape || layout; }
  };
  /// The events that have arrived, without waiting for any.
  Changes readEvents();

  /// Activity holds the rectangles that were drawn since the last call, in pixels of the screen, and where
  /// the pointer is now; absent when the server did not answer. One round trip.
  struct Activity {
    std::vector<PixelRect> drawn;
    std::optional<PointerPosition> pointer;  // absent while it is on another screen
  };
  std::optional<Activity> takeActivity();

 private:
  XCaptureConnection(xcb_connection_t* connection, const xcb_screen_t& screen);
  Result<void> useExtensions();
  void watchPointer(bool watched);
  void handleEvent(const xcb_generic_event_t& event, Changes& changes);

  xcb_connection_t* connection_;
  xcb_window_t root_;
  PixelRect whole_;
  bool hasMonitors_ = false;
  std::uint8_t damageEvent_ = 0;
  std::uint8_t fixesEvent_ = 0;
  std::uint8_t randrEvent_ = 0;
  std::uint8_t inputOpcode_ = 0;
  bool watchesPointer_ = false;
  xcb_damage_damage_t damage_ = XCB_NONE;
  xcb_xfixes_region_t drawn_ = XCB_NONE;
};

}  // namespace tevanto
