#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <unordered_map>
#include <utility>

#include "relay/RelayTypes.h"

namespace tevanto::relay {

class RelayMember;

/// RoomTable holds the members of every room. A room exists for as long as it has a member.
class RoomTable {
  using Room = std::pair<const std::string, std::array<RelayMember*, 2>>;

 public:
  /// A member's place; valid until it is left or taken by a newer member.
  class Seat {
   public:
    explicit operator bool() const { return room_ != nullptr; }
    RoomRole role() const { return role_; }

   private:
    friend class RoomTable;
    Room* room_ = nullptr;
    RoomRole role_ = RoomRole::mac;
  };
  struct Joined {
    Seat seat;
    /// The member that had this seat until now; its own seat is no longer valid.
    RelayMember* replaced = nullptr;
  };

  Joined join(const std::string& room, RoomRole role, RelayMember& member);
  /// Gives the seat up; an empty one stays so.
  void leave(Seat& seat);
  RelayMember* opposite(const Seat& seat) const;
  std::size_t size() const { return rooms_.size(); }

 private:
  std::unordered_map<std::string, std::array<RelayMember*, 2>> rooms_;
};

}  // namespace tevanto::relay
