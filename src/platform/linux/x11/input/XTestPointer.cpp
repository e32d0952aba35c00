#include "platform/linux/x11/input/XTestPointer.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace tevanto {
namespace {

constexpr std::uint8_t kLeft = 1;
constexpr std::uint8_t kRight = 3;
constexpr std::uint8_t kWheelUp = 4;
constexpr std::uint8_t kWheelDown = 5;
constexpr std::uint8_t kWheelLeft = 6;
constexpr std::uint8_t kWheelRight = 7;

std::int16_t bounded(int steps) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(std::clamp<int>(steps, -Limits::max(), Limits::max()));
}

}  // namespace

XTestPointer::XTestPointer(std::shared_ptr<XInputConnection> x, HeldInput& held,
                           std::shared_ptr<SerialQueue> clock)
    : x_(std::move(x)), held_(held), clock_(std::move(clock)) {}

PointerLocation XTestPointer::location() {
  refresh();
  return track_.location();
}

void XTestPointer::refresh() {
  const auto now = clock_->now();
  if (now < trustedUntil_) return;
  trustedUntil_ = now + kTrustTrackFor;
  const XcbOwned<xcb_query_pointer_reply_t> pointer(
      xcb_query_pointer_reply(x_->xcb(), xcb_query_pointer(x_->xcb(), x_->root()), nullptr));
  if (!pointer) return;
  x_->readEvents();
  track_.setScreen(x_->screenWidth(), x_->screenHeight());
  track_.setPixel(pointer->root_x, pointer->root_y);
}

PointerPosition::Step XTestPointer::stepTo(PointerLocation target) {
  refresh();
  trustedUntil_ = clock_->now() + kTrustTrackFor;
  return track_.moveTo(target);
}

void XTestPointer::move(PointerPosition::Step step) const {
  while (step != PointerPosition::Step{}) {
    const auto dx = bounded(step.dx);
    const auto dy = bounded(step.dy);
    x_->fakeRelativeMotion(dx, dy);
    step.dx -= dx;
    step.dy -= dy;
  }
}

void XTestPointer::button(int number, bool down) {
  const HeldInput::Entry entry{HeldInput::What::button, physicalButton(number == 0 ? kLeft : kRight)};
  if (down) {
    held_.press({&entry, 1});
  } else {
    held_.release({&entry, 1});
  }
}

void XTestPointer::scroll(const ScrollEvent& event) {
  const int up = vertical_.add(event.vertical);
  const int left = horizontal_.add(event.horizontal);
  click(up > 0 ? kWheelUp : kWheelDown, std::abs(up));
  click(left > 0 ? kWheelLeft : kWheelRight, std::abs(left));
}

void XTestPointer::click(std::uint8_t logical, int times) {
  if (times == 0) return;
  const auto button = physicalButton(logical);
  for (int i = 0; i < times; ++i) {
    x_->fakeButton(button, true);
    x_->fakeButton(button, false);
  }
}

/// XTEST presses the buttons of a mouse, which the user may have assigned in another order.
std::uint8_t XTestPointer::physicalButton(std::uint8_t logical) {
  x_->readEvents();
  if (x_->takeButtonsChanged() || !buttonsKnown_) readButtons();
  return physical_[logical];
}

void XTestPointer::readButtons() {
  for (std::size_t i = 0; i < physical_.size(); ++i) physical_[i] = static_cast<std::uint8_t>(i);
  const XcbOwned<xcb_get_pointer_mapping_reply_t> mapping(
      xcb_get_pointer_mapping_reply(x_->xcb(), xcb_get_pointer_mapping(x_->xcb()), nullptr));
  if (!mapping) return;
  const auto* logical = xcb_get_pointer_mapping_map(mapping.get());
  for (int i = xcb_get_pointer_mapping_map_length(mapping.get()); i > 0; --i)
    if (logical[i - 1] < physical_.size()) physical_[logical[i - 1]] = static_cast<std::uint8_t>(i);
  buttonsKnown_ = true;
}

}  // namespace tevanto
