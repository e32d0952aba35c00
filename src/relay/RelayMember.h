#pragma once

#include "relay/CloseReason.h"
#include "relay/RelayTypes.h"
#include "relay/RoomTable.h"
#include "relay/TimerWheel.h"
#include "relay/TokenBucket.h"

namespace tevanto::relay {

/// Somebody in a room, as the hub sees it. Its entry in the wheel is the time of its next ping while it is in
/// a room, and its connection's own deadline before and after.
class RelayMember : public TimerWheel::Entry {
 public:
  virtual void deliver(RelayMessage message) = 0;
  virtual void ping() = 0;
  /// The member is out of its room; tells it why and ends the connection.
  virtual void close(CloseReason reason) = 0;

 private:
  friend class RelayHub;

  RoomTable::Seat seat_;
  TokenBucket bucket_;
  int unansweredPings_ = 0;
};

}  // namespace tevanto::relay
