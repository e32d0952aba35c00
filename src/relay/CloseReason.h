#pragma once

#include <cstdint>
#include <string_view>

namespace tevanto::relay {

/// CloseReason tells why the relay ends a member's WebSocket (docs/protocol.md, section 9.2). Breaches of the
/// framing itself (1002), text that is not UTF-8 (1007) and messages that are too large (1009) are answered
/// by the WebSocket library with their own codes.
enum class CloseReason {
  goingAway,
  badRoom,
  badRole,
  tooManyConnections,
  tooManyMessages,
  silent,
  replaced,
};

/// The close code (RFC 6455, section 7.4; 4000 to 4999 are the application's own) and its text, which fits
/// into a control frame.
struct CloseCode {
  std::uint16_t code;
  std::string_view text;
};

constexpr CloseCode closeCodeOf(CloseReason reason) {
  switch (reason) {
    case CloseReason::goingAway:
      return {1001, "the relay is going away"};
    case CloseReason::badRoom:
      return {1008, "room must have 1 to 128 characters"};
    case CloseReason::badRole:
      return {1008, "role must be mac or phone"};
    case CloseReason::tooManyConnections:
      return {1013, "too many connections from this address"};
    case CloseReason::tooManyMessages:
      return {1008, "too many messages"};
    case CloseReason::silent:
      return {1008, "no answer to two pings"};
    case CloseReason::replaced:
      return {4001, "replaced by a newer connection"};
  }
  return {1011, ""};
}

}  // namespace tevanto::relay
