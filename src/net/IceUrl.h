#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tevanto {

/// IceUrl is the URL of a STUN or TURN server (RFC 7064, RFC 7065), taken apart: "stun:host",
/// "turn:host:port?transport=tcp".
struct IceUrl {
  std::string scheme;  // "stun", "stuns", "turn" or "turns"
  std::string host;    // a name or an address; IPv6 without its brackets
  std::uint16_t port = 0;
  std::string transport;  // "udp" or "tcp"; that of the scheme where the URL names none

  bool operator==(const IceUrl&) const = default;
};

/// Absent for another scheme, no host, a port that is none or another transport.
std::optional<IceUrl> parseIceUrl(std::string_view text);

}  // namespace tevanto
