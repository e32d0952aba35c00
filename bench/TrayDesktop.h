#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <string>

namespace tevanto::bench {

using Clock = std::chrono::steady_clock;

/// An X server's only desktop: a tray (freedesktop.org System Tray Protocol) with room for one icon in the
/// corner at the top left, and an eye on the windows that appear. The display is that of the environment.
/// What does not happen within half a minute ends the program.
class TrayDesktop {
 public:
  TrayDesktop();
  ~TrayDesktop();
  TrayDesktop(const TrayDesktop&) = delete;
  TrayDesktop& operator=(const TrayDesktop&) = delete;

  /// From now on another window is waited for.
  void forgetWindow();
  /// When the window that appeared had got its ground's color: it is black before its first frame.
  Clock::time_point awaitFirstFrame();
  int windowHeight();
  /// As a window manager does it; waits until the window has gone.
  void closeWindow();
  void awaitWindowGone();

  void forgetIcon() { icon_ = XCB_WINDOW_NONE; }
  void awaitIcon();
  /// On the icon, with the first button. The moment before it was pressed.
  Clock::time_point clickIcon();

 private:
  void becomeTray();
  void takeEvents();
  void noteMapped(xcb_window_t window);
  void dock(xcb_window_t icon);
  void send(xcb_window_t to, const char* type, const xcb_client_message_data_t& data, std::uint32_t mask);
  bool isPainted();
  bool isWindowShown();
  xcb_atom_t atom(const std::string& name);

  xcb_connection_t* const connection_;
  xcb_window_t root_ = XCB_WINDOW_NONE;
  xcb_window_t tray_ = XCB_WINDOW_NONE;
  xcb_window_t icon_ = XCB_WINDOW_NONE;
  xcb_window_t window_ = XCB_WINDOW_NONE;
  xcb_atom_t trayMessage_ = XCB_ATOM_NONE;
};

}  // namespace tevanto::bench
