// Holds a button, a key with its modifiers and a borrowed key code down, and says so; for tests that end it.

#include <unistd.h>

#include <iostream>

#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/input/XTestInputEvents.h"
#include "tests/support/fakes/ManualQueue.h"

int main() {
  using namespace tevanto;
  const auto queue = std::make_shared<test::ManualQueue>("main");
  const auto link = std::make_shared<ReconnectingXServer>("", queue, Logger());
  const auto events = XTestInputEvents::open(
      link, queue, [] { return CommandModifier::control; }, Logger());
  events->postKey({0, KeyDirection::down, 0, u"漢"});
  events->postMouse({MouseEventType::leftDown, {}, 0, 1});
  events->postKey({123, KeyDirection::down, eventFlag::kCommand | eventFlag::kOption});
  events->pointerLocation();  // a round trip: the server has done the above
  std::cout << "holding" << std::endl;
  std::cin.get();
}
