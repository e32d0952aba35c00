#pragma once

#include <string>

#include "relay/RelayMember.h"
#include "relay/RelayMetrics.h"
#include "relay/RelayOptions.h"
#include "relay/RoomTable.h"
#include "relay/TimerWheel.h"

namespace tevanto::relay {

/// The relay without its sockets: who is in which room, what goes to whom, who has sent too much or has been
/// silent for too long. Lives on the relay's only thread; time comes in from outside.
class RelayHub {
 public:
  using TimePoint = TimerWheel::TimePoint;

  RelayHub(const RelayLimits& limits, TimerWheel& wheel, RelayMetrics& metrics)
      : limits_(limits), wheel_(wheel), metrics_(metrics) {}
  RelayHub(const RelayHub&) = delete;
  RelayHub& operator=(const RelayHub&) = delete;

  /// Puts a member into a room, in the place of an older one of its role, and begins to ping it: after half
  /// an interval to a whole one the first time, so that those who all come at once, as they do after a
  /// restart, are not all pinged at once for ever.
  void join(RelayMember& member, const std::string& room, RoomRole role, TimePoint now);
  /// Takes it out; may be called for one that is in no room.
  void leave(RelayMember& member);
  /// Passes a message to the room's other member; it is dropped when there is none. A member that sends too
  /// much is closed.
  void forward(RelayMember& from, RelayMessage message, TimePoint now);
  /// A ping or pong came, which shows that the member lives. Those that answer nothing count like messages:
  /// each makes work. False when the member has been closed for it.
  bool controlFrame(RelayMember& from, TimePoint now);
  /// The time of the member's next ping has come.
  void pingDue(RelayMember& member, TimePoint now);

 private:
  bool admits(RelayMember& from, TimePoint now);
  void close(RelayMember& member, CloseReason reason);
  void count(const RoomTable::Seat& seat, int change);
  std::chrono::milliseconds firstPingDelay() const;

  const RelayLimits& limits_;
  TimerWheel& wheel_;
  RelayMetrics& metrics_;
  RoomTable rooms_;
};

}  // namespace tevanto::relay
