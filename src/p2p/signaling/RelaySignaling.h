#pragma once

#include <functional>
#include <string>

#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// RelaySignaling exchanges signals in a room of a relay, the fast way to negotiate. Used once: connect, then
/// close. Thread-safe.
/// The callbacks are set before `connect`. They come on a queue of the implementation, never inside a call.
class RelaySignaling {
 public:
  virtual ~RelaySignaling() = default;

  std::function<void()> onOpen;
  std::function<void(SignalMessage)> onMessage;
  /// Closed for good: no relay could be reached, or one that was open is gone. Not after `close`.
  std::function<void()> onClose;

  virtual void connect(const std::string& room, SignalRole role) = 0;
  /// Drops a message that cannot be sent.
  virtual void send(const SignalMessage& message) = 0;
  /// Leaves the room: tells the other side when the relay is open. May be called twice.
  virtual void close() = 0;
};

}  // namespace tevanto
