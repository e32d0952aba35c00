#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// RemoteIceServerConfig is one ICE server: "stun:", "turn:" or "turns:" URLs (RFC 7064, RFC 7065), with the
/// credentials of a TURN server. Layout: docs/protocol.md, section 9.1.
struct RemoteIceServerConfig {
  std::vector<std::string> urlStrings;
  std::optional<std::string> username;
  std::optional<std::string> credential;

  bool operator==(const RemoteIceServerConfig&) const = default;
};

/// BrokeredIceServers holds servers with short-lived credentials, and the time at which those were obtained.
struct BrokeredIceServers {
  std::vector<RemoteIceServerConfig> servers;
  std::chrono::system_clock::time_point loadedAt;

  bool operator==(const BrokeredIceServers&) const = default;
};

/// True when one of the URLs begins with "turn:" or "turns:".
bool isTURNServer(const RemoteIceServerConfig& server);
bool hasTURNServer(const std::vector<RemoteIceServerConfig>& servers);

/// A JSON array of objects with "urls", "username", "credential"; absent members are omitted.
std::string encodeIceServers(const std::vector<RemoteIceServerConfig>& servers);
/// Reads "urlStrings" where "urls" is missing; nothing for a text that is no such array.
std::optional<std::vector<RemoteIceServerConfig>> decodeIceServers(std::string_view json);

/// A credential service's answer: the servers of {"iceServers": [...]}; nothing for another text.
std::optional<std::vector<RemoteIceServerConfig>> decodeRemoteIceServersResponse(std::string_view json);

/// {"servers": [...], "loadedAt": <seconds since 2001-01-01 00:00 UTC>}, as kept from one start to the next.
std::string encodeBrokeredIceServers(const BrokeredIceServers& brokered);
std::optional<BrokeredIceServers> decodeBrokeredIceServers(std::string_view json);

}  // namespace tevanto
