#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tevanto::relay {

/// RoomRole is one of the two places of a room.
enum class RoomRole : unsigned char { mac, phone };

constexpr RoomRole opposite(RoomRole role) { return role == RoomRole::mac ? RoomRole::phone : RoomRole::mac; }

constexpr std::optional<RoomRole> roomRoleFrom(std::string_view text) {
  if (text == "mac") return RoomRole::mac;
  if (text == "phone") return RoomRole::phone;
  return std::nullopt;
}

/// RelayMessage is one whole WebSocket message, passed on as it came.
struct RelayMessage {
  std::string bytes;
  bool isText = true;
};

/// RelayRequest is what the relay reads of the head of an HTTP request.
struct RelayRequest {
  std::string method;
  std::string target;
  /// Asks to become a WebSocket.
  bool isUpgrade = false;
  /// The values of X-Forwarded-For, joined by commas.
  std::string forwardedFor;
};

}  // namespace tevanto::relay
