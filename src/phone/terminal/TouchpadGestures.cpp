#include "phone/terminal/TouchpadGestures.h"

#include <utility>

#include "phone/commands/CommandParts.h"

namespace tevanto::phone {
namespace {

constexpr char kControlC = 3;
constexpr char kControlD = 4;

}  // namespace

std::vector<RemoteCommand> TouchpadGestures::handle(const std::vector<TerminalEvent>& events) {
  commands_.clear();
  for (const auto& event : events) {
    if (const auto* key = std::get_if<TerminalKey>(&event)) handleKey(*key);
    if (const auto* mouse = std::get_if<TerminalMouse>(&event)) handleMouse(*mouse);
    if (quit_) break;
  }
  flushMotion();
  return std::move(commands_);
}

std::vector<RemoteCommand> TouchpadGestures::finish() {
  commands_.clear();
  if (holding_) hold(false);
  return std::move(commands_);
}

void TouchpadGestures::handleKey(const TerminalKey& key) {
  const double step = key.shift ? kLongStep : kStep;
  switch (key.kind) {
    case TerminalKey::Kind::up:
      return move(0, -step);
    case TerminalKey::Kind::down:
      return move(0, step);
    case TerminalKey::Kind::left:
      return move(-step, 0);
    case TerminalKey::Kind::right:
      return move(step, 0);
    case TerminalKey::Kind::enter:
      return click("left", 1);
    case TerminalKey::Kind::character:
      return handleCharacter(key.character);
  }
}

void TouchpadGestures::handleCharacter(char character) {
  switch (character) {
    case ' ':
      return click("left", 1);
    case 'd':
      return click("left", 2);
    case 'r':
      return click("right", 1);
    case 'g':
      return hold(!holding_);
    case 'k':
      return scroll(0, kScroll);
    case 'j':
      return scroll(0, -kScroll);
    case 'q':
    case kControlC:
    case kControlD:
      quit_ = true;
      return;
    default:
      return;
  }
}

void TouchpadGestures::handleMouse(const TerminalMouse& mouse) {
  const auto before = cell_;
  cell_ = {mouse.column, mouse.row};
  switch (mouse.kind) {
    case TerminalMouse::Kind::wheelUp:
      return scroll(0, kScroll);
    case TerminalMouse::Kind::wheelDown:
      return scroll(0, -kScroll);
    case TerminalMouse::Kind::wheelLeft:
      return scroll(kScroll, 0);
    case TerminalMouse::Kind::wheelRight:
      return scroll(-kScroll, 0);
    case TerminalMouse::Kind::press:
      pressed_ = pressed_ || mouse.button == 0;
      return;
    case TerminalMouse::Kind::release:
      return handleRelease(mouse.button);
    case TerminalMouse::Kind::motion:
      break;
  }
  if (!before || before == cell_) return;
  if (pressed_ && !holding_) hold(true);
  move((mouse.column - before->first) * kColumn, (mouse.row - before->second) * kRow);
}

void TouchpadGestures::handleRelease(int button) {
  if (button == 2) return click("right", 1);
  if (button != 0 || !pressed_) return;
  pressed_ = false;
  if (holding_) return hold(false);
  click("left", 1);
}

void TouchpadGestures::move(double dx, double dy) {
  dx_ += dx;
  dy_ += dy;
}

void TouchpadGestures::flushMotion() {
  if (dx_ == 0 && dy_ == 0) return;
  commands_.push_back(motion("movePointer", std::exchange(dx_, 0), std::exchange(dy_, 0)));
}

void TouchpadGestures::add(RemoteCommand given) {
  flushMotion();  // what was moved before happens before
  commands_.push_back(std::move(given));
}

void TouchpadGestures::click(std::string_view button, int count) {
  auto given = command("click");
  given.button = button;
  given.clicks = count;
  add(std::move(given));
}

void TouchpadGestures::scroll(double dx, double dy) { add(motion("scroll", dx, dy)); }

void TouchpadGestures::hold(bool down) {
  holding_ = down;
  add(command(down ? "mouseDown" : "mouseUp"));
}

}  // namespace tevanto::phone
