#include "phone/mirror/WindowGestures.h"

#include <utility>

#include "phone/commands/CommandParts.h"
#include "phone/commands/KeyNames.h"

namespace tevanto::phone {
namespace {

RemoteCommand click(std::string button) {
  auto made = command("click");
  made.button = std::move(button);
  made.clicks = 1;  // two of them in a hurry are a double click to the computer as well
  return made;
}

}  // namespace

std::vector<RemoteCommand> WindowGestures::handle(const std::vector<WindowEvent>& events) {
  commands_.clear();
  for (const auto& event : events) std::visit([this](const auto& given) { on(given); }, event);
  flushMotion();
  return std::move(commands_);
}

std::vector<RemoteCommand> WindowGestures::finish() {
  commands_.clear();
  if (std::exchange(holding_, false)) add(command("mouseUp"));
  return std::move(commands_);
}

void WindowGestures::on(const WindowMotion& moved) {
  if (pressed_ && !holding_) {
    add(command("mouseDown"));
    holding_ = true;
  }
  dx_ += moved.dx;
  dy_ += moved.dy;
}

void WindowGestures::on(const WindowButton& button) {
  if (button.button == WindowButton::Button::right) {
    if (!button.isDown) add(click("right"));
    return;
  }
  if (button.isDown) {
    pressed_ = true;
    return;
  }
  if (std::exchange(pressed_, false))
    add(std::exchange(holding_, false) ? command("mouseUp") : click("left"));
}

void WindowGestures::on(const WindowScroll& scroll) {
  add(motion("scroll", scroll.dx * kWheelStep, scroll.dy * kWheelStep));
}

void WindowGestures::on(const WindowKey& key) {
  const auto named = keyNamed(key.key);
  if (!named) return;
  auto given = command("keyPress");
  given.key = named->key;
  std::vector<RemoteModifier> modifiers;
  if (key.shift || named->shift) modifiers.push_back(RemoteModifier::shift);
  if (key.option) modifiers.push_back(RemoteModifier::option);
  if (key.control) modifiers.push_back(RemoteModifier::control);
  if (key.command) modifiers.push_back(RemoteModifier::command);
  if (!modifiers.empty()) given.modifiers = std::move(modifiers);
  add(std::move(given));
}

void WindowGestures::on(const WindowText& text) {
  auto given = command("insertText");
  given.text = text.text;
  add(std::move(given));
}

void WindowGestures::flushMotion() {
  if (dx_ == 0 && dy_ == 0) return;
  commands_.push_back(motion("movePointer", std::exchange(dx_, 0), std::exchange(dy_, 0)));
}

void WindowGestures::add(RemoteCommand given) {
  flushMotion();  // what was moved before happens before
  commands_.push_back(std::move(given));
}

}  // namespace tevanto::phone
