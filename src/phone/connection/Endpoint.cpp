#include "phone/connection/Endpoint.h"

#include <algorithm>
#include <charconv>

namespace tevanto::phone {
namespace {

std::optional<std::uint16_t> parsePort(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port == 0) return std::nullopt;
  return port;
}

std::optional<Endpoint> endpointOf(std::string_view host, std::string_view rest, std::uint16_t defaultPort) {
  if (host.empty()) return std::nullopt;
  Endpoint endpoint{{std::string(host)}, defaultPort};
  if (rest.empty()) return endpoint;
  const auto port = rest[0] == ':' ? parsePort(rest.substr(1)) : std::nullopt;
  if (!port) return std::nullopt;
  endpoint.port = *port;
  return endpoint;
}

}  // namespace

std::string Endpoint::text() const {
  const auto host = hosts.empty() ? std::string() : hosts.front();
  const bool isIpv6 = host.find(':') != std::string::npos;
  return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

std::optional<Endpoint> parseEndpoint(std::string_view text, std::uint16_t defaultPort) {
  if (text.starts_with('[')) {
    const auto end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    return endpointOf(text.substr(1, end - 1), text.substr(end + 1), defaultPort);
  }
  if (std::count(text.begin(), text.end(), ':') > 1) return endpointOf(text, "", defaultPort);
  const auto colon = std::min(text.find(':'), text.size());
  return endpointOf(text.substr(0, colon), text.substr(colon), defaultPort);
}

}  // namespace tevanto::phone
