#include "relay/RelayHub.h"

#include <utility>

namespace tevanto::relay {

void RelayHub::join(RelayMember& member, const std::string& room, RoomRole role, TimePoint now) {
  const auto joined = rooms_.join(room, role, member);
  member.seat_ = joined.seat;
  member.bucket_ = TokenBucket(limits_.messagesPerSecond, limits_.messageBurst, now);
  member.unansweredPings_ = 0;
  count(member.seat_, 1);
  ++metrics_.joins;
  wheel_.schedule(member, now + limits_.pingInterval);
  if (!joined.replaced) return;
  count(joined.replaced->seat_, -1);
  joined.replaced->seat_ = {};
  ++metrics_.replacedMembers;
  joined.replaced->close(CloseReason::replaced);
}

void RelayHub::leave(RelayMember& member) {
  if (!member.seat_) return;
  count(member.seat_, -1);
  rooms_.leave(member.seat_);
  metrics_.rooms = rooms_.size();
}

void RelayHub::forward(RelayMember& from, RelayMessage message, TimePoint now) {
  from.unansweredPings_ = 0;
  if (!admits(from, now)) return;
  auto* to = rooms_.opposite(from.seat_);
  if (!to) {
    ++metrics_.messagesToNobody;
    return;
  }
  ++metrics_.forwardedMessages;
  metrics_.forwardedBytes += message.bytes.size();
  to->deliver(std::move(message));
}

bool RelayHub::controlFrame(RelayMember& from, TimePoint now) {
  from.unansweredPings_ = 0;
  return admits(from, now);
}

void RelayHub::pingDue(RelayMember& member, TimePoint now) {
  if (member.unansweredPings_ >= limits_.unansweredPings) {
    ++metrics_.silentMembers;
    return end(member, CloseReason::silent);
  }
  ++member.unansweredPings_;
  wheel_.schedule(member, now + limits_.pingInterval);
  member.ping();
}

bool RelayHub::admits(RelayMember& from, TimePoint now) {
  if (!from.seat_) return false;
  if (from.bucket_.take(now)) return true;
  ++metrics_.rateLimitedMembers;
  end(from, CloseReason::tooManyMessages);
  return false;
}

void RelayHub::end(RelayMember& member, CloseReason reason) {
  leave(member);
  member.close(reason);
}

void RelayHub::count(const RoomTable::Seat& seat, int change) {
  auto& members = seat.role() == RoomRole::mac ? metrics_.macMembers : metrics_.phoneMembers;
  members += static_cast<std::uint64_t>(change);
  metrics_.rooms = rooms_.size();
}

}  // namespace tevanto::relay
