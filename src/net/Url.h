#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tevanto {

/// Url is an absolute URL (RFC 3986) of "http", "https", "ws" or "wss", taken apart.
struct Url {
  std::string scheme;
  std::string host;  // a name or an address; IPv6 without its brackets
  std::uint16_t port = 0;
  std::string target = "/";  // path and query, as they go into the request

  bool isSecure() const { return scheme == "https" || scheme == "wss"; }
  bool isWebSocket() const { return scheme == "ws" || scheme == "wss"; }
  bool hasDefaultPort() const { return port == (isSecure() ? 443 : 80); }
  /// "host" or "host:port", with brackets around IPv6, as the "Host" field has it.
  std::string authority() const;
  std::string text() const;

  bool operator==(const Url&) const = default;
};

/// Absent for another scheme, a user name, characters that a request line cannot hold, or a port that is
/// none. A fragment is left out.
std::optional<Url> parseUrl(std::string_view text);

/// Percent-encodes (RFC 3986, section 2.1) all but the unreserved characters, so that any bytes can stand for
/// the name or value of a query item.
std::string percentEncoded(std::string_view bytes);

}  // namespace tevanto
