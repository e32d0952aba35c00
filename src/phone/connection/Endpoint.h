#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto::phone {

inline constexpr std::uint16_t kCompanionPort = 51637;
inline constexpr std::uint16_t kScreenPort = 51638;

/// Endpoint is the place where one companion listens. Each of `hosts` is a name or address of the same
/// computer.
struct Endpoint {
  std::vector<std::string> hosts;
  std::uint16_t port = kCompanionPort;

  bool operator==(const Endpoint&) const = default;
  /// "host:port", or "[address]:port" for IPv6, of the first host.
  std::string text() const;
};

/// "host", "host:port", "[IPv6]", "[IPv6]:port" or a bare IPv6 address; nothing when it is none of these.
std::optional<Endpoint> parseEndpoint(std::string_view text, std::uint16_t defaultPort = kCompanionPort);

}  // namespace tevanto::phone
