#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "control/InputEvents.h"
#include "core/queue/SerialQueue.h"
#include "platform/linux/input/PointerPosition.h"
#include "platform/linux/input/WheelSteps.h"
#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/HeldInput.h"

namespace tevanto {

/// Pointer, buttons and wheel of one connection. Motion is sent as relative motion of XTEST, which no
/// acceleration applies to, so that a move costs one request, and a hand on the real mouse is not overruled.
/// Nothing here flushes. Main queue.
class XTestPointer {
 public:
  /// How long after the last motion the tracked position is believed without asking the server.
  static constexpr auto kTrustTrackFor = std::chrono::milliseconds(100);

  XTestPointer(std::shared_ptr<XInputConnection> x, HeldInput& held, std::shared_ptr<SerialQueue> clock);

  PointerLocation location();
  /// The motion that brings the pointer to `target`, which the track takes for done.
  PointerPosition::Step stepTo(PointerLocation target);
  void move(PointerPosition::Step step) const;
  void button(int number, bool down);
  void scroll(const ScrollEvent& event);

 private:
  void refresh();
  std::uint8_t physicalButton(std::uint8_t logical);
  void readButtons();
  void click(std::uint8_t logical, int times);

  const std::shared_ptr<XInputConnection> x_;
  HeldInput& held_;
  const std::shared_ptr<SerialQueue> clock_;
  PointerPosition track_;
  SerialQueue::TimePoint trustedUntil_ = SerialQueue::TimePoint::min();
  WheelSteps vertical_;
  WheelSteps horizontal_;
  bool buttonsKnown_ = false;
  std::array<std::uint8_t, 8> physical_{};  // by logical number
};

}  // namespace tevanto
