#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace tevanto {

/// PointerLocation is a place in points of all displays together, with the origin at the top left of the
/// main display.
struct PointerLocation {
  double x = 0;
  double y = 0;
  bool operator==(const PointerLocation&) const = default;
};

/// Flags of an event: which modifiers it carries. The numbers are those of the system whose key codes are
/// used here.
namespace eventFlag {
inline constexpr std::uint32_t kShift = 0x20000;
inline constexpr std::uint32_t kControl = 0x40000;
inline constexpr std::uint32_t kOption = 0x80000;
inline constexpr std::uint32_t kCommand = 0x100000;
inline constexpr std::uint32_t kNumericPad = 0x200000;
inline constexpr std::uint32_t kSecondaryFunction = 0x800000;
}  // namespace eventFlag

/// EventSource gives an event the state of the session's own keys. Valid only for the object that made it.
class EventSource {
 public:
  virtual ~EventSource() = default;
};

/// KeyDirection is the half of a key stroke that an event reports.
enum class KeyDirection { down, up };

/// KeyEvent is a physical key, by its virtual key code on the US layout. The event types `text` instead,
/// unless that is empty.
struct KeyEvent {
  std::uint16_t keyCode = 0;
  KeyDirection direction = KeyDirection::down;
  std::uint32_t flags = 0;
  std::u16string_view text = {};
  const EventSource* source = nullptr;
};

/// MouseEventType is the kind of a mouse event. The numbers are those of the system whose key codes are used
/// here.
enum class MouseEventType {
  leftDown = 1,
  leftUp = 2,
  rightDown = 3,
  rightUp = 4,
  moved = 5,
  leftDragged = 6
};

/// MouseEvent is a press, a release or a motion of the mouse.
struct MouseEvent {
  MouseEventType type = MouseEventType::moved;
  PointerLocation location;
  int button = 0;      // 0 left, 1 right
  int clickState = 0;  // 1 for a click, 2 for the second of a double click, ...; 0 for motion
};

/// ScrollEvent is a scroll in pixels; positive is up and left.
struct ScrollEvent {
  std::int32_t vertical = 0;
  std::int32_t horizontal = 0;
};

/// MediaKey is a key of a media keyboard. The numbers are those of the key type in a system-defined event.
enum class MediaKey { play = 16, next = 17, previous = 18 };

/// InputEvents injects synthetic input into the system. Each post returns whether the event could be made.
/// Main queue only.
class InputEvents {
 public:
  virtual ~InputEvents() = default;

  /// A source of the combined state of the session; null where events need none, and when none can be made.
  virtual std::unique_ptr<EventSource> makeEventSource() { return nullptr; }
  virtual bool postKey(const KeyEvent& event) = 0;
  virtual bool postMouse(const MouseEvent& event) = 0;
  virtual bool postScroll(const ScrollEvent& event) = 0;
  virtual bool postMediaKey(MediaKey key, KeyDirection direction) = 0;
  virtual void warpPointer(PointerLocation location) = 0;
  /// (0, 0) when it cannot be read.
  virtual PointerLocation pointerLocation() = 0;
};

}  // namespace tevanto
