#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>

namespace tevanto::bench {

/// A window over the whole display with lines of text, as an application on a plain X server draws them.
/// One thread; each call returns when the server has carried it out.
class SceneXClient {
 public:
  explicit SceneXClient(const std::string& display);
  ~SceneXClient();
  SceneXClient(const SceneXClient&) = delete;
  SceneXClient& operator=(const SceneXClient&) = delete;

  /// The whole page moves up by one line, and a new line comes in below.
  void scroll();
  /// One more letter of the line in the middle.
  void type();

 private:
  void drawLine(int y, unsigned line);
  void clear(int y, int height);
  void settle() const;

  xcb_connection_t* x_;
  xcb_window_t window_ = 0;
  xcb_gcontext_t text_ = 0;
  xcb_gcontext_t paper_ = 0;
  int width_ = 0;
  int height_ = 0;
  unsigned lines_ = 0;  // drawn so far
  unsigned typed_ = 0;
};

/// A square in the upper left corner of the display, above all windows, that is either black or white: its
/// changes are easy to find in a decoded picture.
class MarkerXClient {
 public:
  /// Pixels of the display.
  static constexpr int kSide = 64;

  explicit MarkerXClient(const std::string& display);
  ~MarkerXClient();
  MarkerXClient(const MarkerXClient&) = delete;
  MarkerXClient& operator=(const MarkerXClient&) = delete;

  /// Returns when the server has carried it out.
  void show(bool white);
  int displayWidth() const { return displayWidth_; }

 private:
  xcb_connection_t* x_;
  xcb_window_t window_ = 0;
  xcb_gcontext_t black_ = 0;
  xcb_gcontext_t white_ = 0;
  int displayWidth_ = 0;
};

}  // namespace tevanto::bench
