#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "control/InputEvents.h"
#include "core/Log.h"
#include "core/queue/QueueBound.h"
#include "platform/linux/input/CommandModifier.h"
#include "platform/linux/input/PointerPosition.h"

namespace tevanto {

class ReconnectingXServer;

/// XTestEventQueue keeps posted events in their order and carries them out on the X server of the moment.
/// Without text in front, an event goes out within the call. Behind text that has to wait, it waits too,
/// except for pointer motion with no button queued.
///
///     submit, type, warp ──> waiting (text, keys, buttons, ...) ──> pump ──> Session: one connection
///                                                                     └── timer, while the text waits
///
/// A session ends with its connection, and everything that waits goes with it. Main queue.
class XTestEventQueue final : public QueueBound<XTestEventQueue> {
 public:
  using Text = std::u32string;
  struct Key {
    KeyEvent event;
  };
  struct Button {
    int number = 0;
    bool down = false;
  };
  struct Media {
    MediaKey key{};
    KeyDirection direction{};
  };
  using Work = std::variant<Text, Key, Button, ScrollEvent, Media, PointerPosition::Step>;

  XTestEventQueue(std::shared_ptr<ReconnectingXServer> link, std::shared_ptr<SerialQueue> mainQueue,
                  CommandModifierSource commandModifier, Logger log);
  ~XTestEventQueue();

  /// Returns true when there is a server; connects where necessary.
  bool connect() { return session() != nullptr; }
  /// Does it now, or once the text in front of it is typed. False without a server.
  bool submit(Work work);
  bool type(std::u16string_view units);
  void warp(PointerLocation target);
  /// The corner of the screen without a server.
  PointerLocation pointerLocation();
  /// Drops what waits, and releases what is held down.
  void stop();

 private:
  struct Session;

  Session* session();
  Session* renewSession();
  void flushMotion(Session& current);
  void flushNow();
  void enqueue(Work work);
  bool perform(Session& current, Work& work);
  void pump();
  void pumpAfter(SerialQueue::Duration wait);
  void removeFront();
  void rest();

  const std::shared_ptr<ReconnectingXServer> link_;
  const CommandModifierSource commandModifier_;
  const Logger log_;
  std::unique_ptr<Session> session_;
  std::deque<Work> waiting_;
  std::size_t typed_ = 0;  // characters of the text in front
  int waitingButtons_ = 0;
  bool pumping_ = false;
  SerialQueue::TimePoint lastMotion_{};
  bool flushPosted_ = false;
  Timer pumpTimer_;
  Timer restTimer_;
};

}  // namespace tevanto
