#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// One ICE server: "stun:", "turn:" or "turns:" URLs (RFC 7064, RFC 7065), with the credentials of a TURN
/// server.
struct RemoteIceServerConfig {
  std::vector<std::string> urlStrings;
  std::optional<std::string> username;
  std::optional<std::string> credential;

  bool operator==(const RemoteIceServerConfig&) const = default;
};

/// Whether one of the URLs begins with "turn:" or "turns:".
bool isTURNServer(const RemoteIceServerConfig& server);
bool hasTURNServer(const std::vector<RemoteIceServerConfig>& servers);

/// A JSON array of objects with "urls", "username", "credential".
std::string encodeIceServers(const std::vector<RemoteIceServerConfig>& servers);
/// Reads "urlStrings" where "urls" is missing; nothing for what is no such array.
std::optional<std::vector<RemoteIceServerConfig>> decodeIceServers(std::string_view json);

}  // namespace tevanto
