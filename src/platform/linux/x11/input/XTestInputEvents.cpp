#include "platform/linux/x11/input/XTestInputEvents.h"

#include <optional>
#include <utility>

#include "core/queue/SerialQueue.h"
#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/input/XTestEventQueue.h"

namespace tevanto {
namespace {

std::optional<XTestEventQueue::Button> buttonOf(const MouseEvent& event) {
  switch (event.type) {
    case MouseEventType::leftDown:
    case MouseEventType::rightDown:
      return XTestEventQueue::Button{event.button, true};
    case MouseEventType::leftUp:
    case MouseEventType::rightUp:
      return XTestEventQueue::Button{event.button, false};
    case MouseEventType::moved:
    case MouseEventType::leftDragged:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

std::shared_ptr<XTestInputEvents> XTestInputEvents::open(std::shared_ptr<ReconnectingXServer> link,
                                                         std::shared_ptr<SerialQueue> mainQueue,
                                                         CommandModifierSource commandModifier, Logger log) {
  auto events = std::make_shared<XTestEventQueue>(std::move(link), std::move(mainQueue),
                                                  std::move(commandModifier), std::move(log));
  events->connect();  // releases what an earlier run left held down, if there is a server already
  return std::shared_ptr<XTestInputEvents>(new XTestInputEvents(std::move(events)));
}

XTestInputEvents::XTestInputEvents(std::shared_ptr<XTestEventQueue> events) : events_(std::move(events)) {}

XTestInputEvents::~XTestInputEvents() { events_->stop(); }

bool XTestInputEvents::postKey(const KeyEvent& event) {
  if (event.text.empty()) return events_->submit(XTestEventQueue::Key{event});
  return event.direction == KeyDirection::up || events_->type(event.text);
}

bool XTestInputEvents::postMouse(const MouseEvent& event) {
  const auto button = buttonOf(event);
  if (!button) return events_->connect();  // the warp before it was the motion
  return events_->submit(*button);
}

bool XTestInputEvents::postScroll(const ScrollEvent& event) { return events_->submit(event); }

bool XTestInputEvents::postMediaKey(MediaKey key, KeyDirection direction) {
  return events_->submit(XTestEventQueue::Media{key, direction});
}

void XTestInputEvents::warpPointer(PointerLocation location) { events_->warp(location); }

PointerLocation XTestInputEvents::pointerLocation() { return events_->pointerLocation(); }

}  // namespace tevanto
