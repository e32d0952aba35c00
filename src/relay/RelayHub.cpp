#include "relay/RelayHub.h"

#include <cmath>
#include <utility>

namespace tevanto::relay {

void RelayHub::join(RelayMember& member, const std::string& room, RoomRole role, TimePoint now) {
  const auto joined = rooms_.join(room, role, member);
  member.seat_ = joined.seat;
  member.bucket_ = TokenBucket(limits_.messagesPerSecond, limits_.messageBurst, now);
  member.unansweredPings_ = 0;
  count(member.seat_, 1);
  wheel_.schedule(member, now + firstPingDelay());
  ++metrics_.joins;
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
    return close(member, CloseReason::silent);
  }
  ++member.unansweredPings_;
  wheel_.schedule(member, now + limits_.pingInterval);
  member.ping();
}

std::chrono::milliseconds RelayHub::firstPingDelay() const {
  // Multiples of the golden section fall evenly into an interval, however many there are.
  constexpr double kGoldenSection = 0.6180339887498949;
  double whole = 0;
  const double part = std::modf(static_cast<double>(metrics_.joins) * kGoldenSection, &whole);
  const std::chrono::duration<double, std::milli> earlier = part * limits_.pingInterval / 2;
  return limits_.pingInterval - std::chrono::duration_cast<std::chrono::milliseconds>(earlier);
}

bool RelayHub::admits(RelayMember& from, TimePoint now) {
  if (!from.seat_) return false;
  if (from.bucket_.take(now)) return true;
  ++metrics_.rateLimitedMembers;
  close(from, CloseReason::tooManyMessages);
  return false;
}

void RelayHub::close(RelayMember& member, CloseReason reason) {
  leave(member);
  member.close(reason);
}

void RelayHub::count(const RoomTable::Seat& seat, int change) {
  auto& members = seat.role() == RoomRole::mac ? metrics_.macMembers : metrics_.phoneMembers;
  members += static_cast<std::uint64_t>(change);
  metrics_.rooms = rooms_.size();
}

}  // namespace tevanto::relay
