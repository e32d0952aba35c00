#include "relay/RoomTable.h"

namespace tevanto::relay {
namespace {

std::size_t index(RoomRole role) { return static_cast<std::size_t>(role); }

}  // namespace

RoomTable::Joined RoomTable::join(const std::string& room, RoomRole role, RelayMember& member) {
  Room& entry = *rooms_.try_emplace(room).first;
  Joined joined;
  joined.seat.room_ = &entry;  // stays where it is however the table grows
  joined.seat.role_ = role;
  joined.replaced = std::exchange(entry.second[index(role)], &member);
  return joined;
}

void RoomTable::leave(Seat& seat) {
  Room* room = std::exchange(seat.room_, nullptr);
  if (!room) return;
  room->second[index(seat.role_)] = nullptr;
  if (!room->second[0] && !room->second[1]) rooms_.erase(rooms_.find(room->first));
}

RelayMember* RoomTable::opposite(const Seat& seat) const {
  return seat.room_ ? seat.room_->second[index(relay::opposite(seat.role_))] : nullptr;
}

}  // namespace tevanto::relay
