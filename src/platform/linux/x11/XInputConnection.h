#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Result.h"
#include "platform/linux/x11/XcbOwned.h"

namespace tevanto {

/// XInputConnection is one connection to an X server that has the XTEST and XKB extensions. It stays broken
/// once that server has ended. Only the adapters of input use it. Main queue, except for `alive`.
class XInputConnection {
 public:
  /// Blocks for a few round trips.
  static Result<std::shared_ptr<XInputConnection>> connect(const std::string& displayName);
  ~XInputConnection();
  XInputConnection(const XInputConnection&) = delete;
  XInputConnection& operator=(const XInputConnection&) = delete;

  /// Returns true while the server listens; one system call, no round trip. Any thread.
  bool alive() const;
  /// Returns true once a request or reply has failed because the server ended. No system call.
  bool broken() const { return xcb_connection_has_error(connection_) != 0; }

  xcb_connection_t* xcb() const { return connection_; }
  xcb_window_t root() const { return root_; }
  xcb_atom_t atom(std::string_view name) const;

  /// Requests of XTEST; they reach the server with `flush`.
  void fakeKey(std::uint8_t keycode, bool down) const;
  void fakeButton(std::uint8_t button, bool down) const;
  void fakeRelativeMotion(std::int16_t dx, std::int16_t dy) const;
  /// Sends what was asked for; false when the server is gone.
  bool flush() const { return xcb_flush(connection_) > 0; }

  /// Reads the events that have arrived, without waiting for any.
  void readEvents();
  /// KeyRange is a range of key codes whose keysyms changed; a negative count means the whole keyboard.
  struct KeyRange {
    int first = 0;
    int count = 0;
  };
  std::vector<KeyRange> takeKeyChanges() { return std::exchange(keyChanges_, {}); }
  bool takeButtonsChanged() { return std::exchange(buttonsChanged_, false); }
  int screenWidth() const { return width_; }
  int screenHeight() const { return height_; }

 private:
  XInputConnection(xcb_connection_t* connection, const xcb_screen_t& screen);
  Result<void> useExtensions();
  void handleEvent(const xcb_generic_event_t& event);

  xcb_connection_t* connection_;
  xcb_window_t root_;
  int width_;
  int height_;
  std::uint8_t xkbEvent_ = 0;
  std::vector<KeyRange> keyChanges_;
  bool buttonsChanged_ = false;
};

}  // namespace tevanto
