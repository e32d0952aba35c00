#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tevanto::relay {

/// The two places of a room.
enum class RoomRole : unsigned char { mac, phone };

constexpr RoomRole opposite(RoomRole role) { return role == RoomRole::mac ? RoomRole::phone : RoomRole::mac; }

constexpr std::optional<RoomRole> roomRoleFrom(std::string_view text) {
  if (text == "mac") return RoomRole::mac;
  if (text == "phone") return RoomRole::phone;
  return std::nullopt;
}

}  // namespace tevanto::relay
