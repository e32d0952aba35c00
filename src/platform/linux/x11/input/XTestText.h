#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"
#include "platform/linux/x11/input/HeldInput.h"
#include "platform/linux/x11/input/XKeyboard.h"

namespace tevanto {

/// XTestText types characters of any script by key strokes, whatever the keyboard layout. A character that
/// the layout has is typed with its key; another one is put on a key code that the layout leaves unused, for
/// as long as it is needed. It never waits: it returns how long the rest has to. Main queue.
class XTestText {
 public:
  XTestText(std::shared_ptr<XInputConnection> x, HeldInput& held, XKeyboard& keyboard,
            std::shared_ptr<SerialQueue> clock, Logger log);
  XTestText(const XTestText&) = delete;
  XTestText& operator=(const XTestText&) = delete;
  /// Ends what is going on: locks are set again, key codes are released.
  ~XTestText();

  struct Progress {
    std::size_t characters = 0;  // typed, or left out because nothing types them
    SerialQueue::Duration wait{};
  };
  /// Types the beginning of `text`, and sends it.
  Progress type(std::u32string_view text);
  /// No text follows for now: Caps Lock and its like are as the user left them.
  void pause();
  void releaseKeycodes();

 private:
  struct Stroke {
    std::uint8_t keycode = 0;
    bool shift = false;
    bool thirdLevel = false;
  };
  struct Plan {
    std::vector<Stroke> strokes;
    std::vector<SpareKeyPool::Spare> mappings;
    std::size_t characters = 0;
    bool mustWait = false;
  };

  void observeLateness();
  KeyboardState observedState();
  KeyboardState unlockedState();
  Plan plan(std::u32string_view text, const KeyboardState& state);
  bool planSpare(char32_t character, Plan& plan);
  void map(std::vector<SpareKeyPool::Spare> mappings);
  void changeMapping(std::uint8_t first, const std::vector<std::uint32_t>& keysyms) const;
  void send(const std::vector<Stroke>& strokes) const;
  void setLocks(std::uint8_t affected, std::uint8_t locked) const;

  const std::shared_ptr<XInputConnection> x_;
  HeldInput& held_;
  XKeyboard& keyboard_;
  const std::shared_ptr<SerialQueue> clock_;
  const Logger log_;
  std::optional<SerialQueue::TimePoint> nextDue_;  // while a text goes on
  std::uint8_t locksToRestore_ = 0;
  bool reportedNoSpares_ = false;
};

}  // namespace tevanto
