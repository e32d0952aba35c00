#pragma once

#include <functional>
#include <string>

#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// The fast road on which two peers negotiate: a room of a relay. One life each: connect, then close.
/// Calls may come from any thread. The callbacks are set before `connect` and come on a queue of the
/// implementation's own, never inside a call; who sets them hops to a queue of its own.
class RelaySignaling {
 public:
  virtual ~RelaySignaling() = default;

  std::function<void()> onOpen;
  std::function<void(SignalMessage)> onMessage;
  /// Closed for good: no relay could be reached, or one that was open is gone. Not after `close`.
  std::function<void()> onClose;

  virtual void connect(const std::string& room, SignalRole role) = 0;
  /// What cannot be sent is dropped.
  virtual void send(const SignalMessage& message) = 0;
  /// Leaves the room: tells the other side when the relay is open. May be called twice.
  virtual void close() = 0;
};

}  // namespace tevanto
