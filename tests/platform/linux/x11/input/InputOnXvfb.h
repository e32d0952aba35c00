#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/XTestInputEvents.h"
#include "platform/linux/x11/input/XTestPermission.h"
#include "tests/support/desktop/RecordingXClient.h"
#include "tests/support/desktop/XvfbServer.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto::test {

/// Input into a real X server, with an application that records what it gets, in virtual time.
class InputOnXvfb : public ::testing::Test {
 protected:
  using Kind = XEvent::Kind;

  std::shared_ptr<XTestInputEvents> open() {
    return XTestInputEvents::open(
        link, queue, [this] { return command; }, Logger());
  }

  /// As the input controller does it.
  void moveBy(double dx, double dy) {
    const auto at = events->pointerLocation();
    const PointerLocation to{at.x + dx, at.y + dy};
    events->warpPointer(to);
    events->postMouse({MouseEventType::moved, to});
  }
  void stroke(std::uint16_t keyCode, std::uint32_t flags = 0) {
    events->postKey({keyCode, KeyDirection::down, flags});
    events->postKey({keyCode, KeyDirection::up, flags});
  }
  void type(std::u16string_view text) {
    events->postKey({0, KeyDirection::down, 0, text});
    events->postKey({0, KeyDirection::up, 0, text});
  }
  /// Waits until the server has carried out everything that was posted.
  void settle() {
    const auto connection = link->connection();
    auto* xcb = connection->xcb();
    XcbOwned<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
  }
  std::pair<int, int> pointer() {
    settle();
    return client->pointer();
  }
  std::vector<XEvent> all(Kind kind) {
    settle();
    auto result = client->all();
    std::erase_if(result, [kind](const auto& event) { return event.kind != kind; });
    return result;
  }
  /// Kinds and details of the key and button events, in order.
  std::vector<std::pair<Kind, int>> strokes() {
    settle();
    std::vector<std::pair<Kind, int>> result;
    for (const auto& event : client->all())
      if (event.kind != Kind::motion) result.emplace_back(event.kind, event.detail);
    return result;
  }

  XvfbServer server;
  std::unique_ptr<RecordingXClient> client = std::make_unique<RecordingXClient>(server.display());
  std::shared_ptr<ManualQueue> queue = std::make_shared<ManualQueue>("main");
  CommandModifier command = CommandModifier::control;
  std::shared_ptr<ReconnectingXServer> link =
      std::make_shared<ReconnectingXServer>(server.display(), queue, Logger());
  std::shared_ptr<XTestInputEvents> events = open();
};

}  // namespace tevanto::test
