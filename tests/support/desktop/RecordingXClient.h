#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tevanto::test {

/// What a window was told.
struct XEvent {
  enum class Kind { motion, buttonPress, buttonRelease, keyPress, keyRelease };
  Kind kind{};
  int detail = 0;  // button or keycode
  unsigned state = 0;
  int x = 0;  // of the root window
  int y = 0;
  bool operator==(const XEvent&) const = default;
};

/// An application with one window that covers the screen, has the keyboard, and records its input events. One
/// thread.
class RecordingXClient {
 public:
  explicit RecordingXClient(const std::string& display);
  ~RecordingXClient();
  RecordingXClient(const RecordingXClient&) = delete;
  RecordingXClient& operator=(const RecordingXClient&) = delete;

  /// Events that have come so far, without waiting.
  const std::vector<XEvent>& events();
  void clear();
  /// Waits until `enough` of the events is true; false when that does not come true within a generous time.
  bool waitUntil(const std::function<bool(const std::vector<XEvent>&)>& enough);
  /// Everything that the server has sent so far: the events of all that it has carried out by now.
  std::vector<XEvent> all();

  std::pair<int, int> pointer() const;
  /// Keycodes that are down now.
  std::vector<int> keysDown() const;
  /// The state of modifiers (low byte) and buttons (high byte) now.
  unsigned state() const;
  /// Puts the pointer somewhere, as another client.
  void placePointer(int x, int y);
  /// What the first buttons of the mouse mean.
  void assignButtons(const std::vector<std::uint8_t>& logical);
  /// The first keysym of a key in the server's keymap now.
  std::uint32_t keysym(int keycode) const;
  /// Keys without any keysym in the server's keymap now.
  std::vector<int> unusedKeycodes() const;

 private:
  struct Connection;
  std::unique_ptr<Connection> connection_;
  std::vector<XEvent> events_;
};

}  // namespace tevanto::test
