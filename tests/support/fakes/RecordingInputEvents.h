#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "control/InputEvents.h"

namespace tevanto::test {

/// A key event with a text of its own, so that it can be kept.
struct RecordedKey {
  std::uint16_t keyCode = 0;
  KeyDirection direction = KeyDirection::down;
  std::uint32_t flags = 0;
  std::u16string text = {};
  int source = 0;  // 0: none; else the which of those that were made
  bool operator==(const RecordedKey&) const = default;
};

struct RecordedMouse {
  MouseEventType type = MouseEventType::moved;
  PointerLocation location = {};
  int button = 0;
  int clickState = 0;
  bool operator==(const RecordedMouse&) const = default;
};

struct RecordedScroll {
  std::int32_t vertical = 0;
  std::int32_t horizontal = 0;
  bool operator==(const RecordedScroll&) const = default;
};

struct RecordedMediaKey {
  MediaKey key = MediaKey::play;
  KeyDirection direction = KeyDirection::down;
  bool operator==(const RecordedMediaKey&) const = default;
};

struct RecordedWarp {
  PointerLocation location;
  bool operator==(const RecordedWarp&) const = default;
};

struct NumberedSource final : EventSource {
  explicit NumberedSource(int given) : number(given) {}
  const int number;
};

/// Keeps what was posted, in order, and moves a pointer of its own. `fails` says which post, counted from 0,
/// cannot be made; such a post is not recorded.
class RecordingInputEvents final : public InputEvents {
 public:
  using Event = std::variant<RecordedKey, RecordedMouse, RecordedScroll, RecordedMediaKey, RecordedWarp>;

  std::vector<Event> events;
  PointerLocation pointer;
  int sourcesMade = 0;
  bool makesSources = true;
  std::function<bool(int index)> fails;
  std::function<void()> onPost;

  std::unique_ptr<EventSource> makeEventSource() override {
    return makesSources ? std::make_unique<NumberedSource>(++sourcesMade) : nullptr;
  }
  bool postKey(const KeyEvent& event) override {
    const auto* source = static_cast<const NumberedSource*>(event.source);
    return record(RecordedKey{event.keyCode, event.direction, event.flags, std::u16string(event.text),
                              source ? source->number : 0});
  }
  bool postMouse(const MouseEvent& event) override {
    return record(RecordedMouse{event.type, event.location, event.button, event.clickState});
  }
  bool postScroll(const ScrollEvent& event) override {
    return record(RecordedScroll{event.vertical, event.horizontal});
  }
  bool postMediaKey(MediaKey key, KeyDirection direction) override {
    return record(RecordedMediaKey{key, direction});
  }
  void warpPointer(PointerLocation location) override {
    pointer = location;
    events.emplace_back(std::in_place_type<RecordedWarp>, RecordedWarp{location});
  }
  PointerLocation pointerLocation() override { return pointer; }

  /// The recorded events of one kind.
  template <class Kind>
  std::vector<Kind> only() const {
    std::vector<Kind> found;
    for (const auto& event : events) {
      if (const auto* one = std::get_if<Kind>(&event)) found.push_back(*one);
    }
    return found;
  }

 private:
  template <class Kind>
  bool record(Kind event) {
    if (onPost) onPost();
    if (fails && fails(posts_++)) return false;
    events.emplace_back(std::in_place_type<Kind>, std::move(event));
    return true;
  }

  int posts_ = 0;
};

}  // namespace tevanto::test
