#include "net/IceUrl.h"

#include <algorithm>
#include <charconv>

namespace tevanto {
namespace {

constexpr std::uint16_t kPort = 3478;
constexpr std::uint16_t kSecurePort = 5349;
constexpr std::string_view kTransportField = "transport=";

std::optional<std::uint16_t> readPort(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && port != 0 ? std::optional(port) : std::nullopt;
}

/// "host", "host:port", "[IPv6]" or "[IPv6]:port".
bool readHostAndPort(std::string_view text, IceUrl& url) {
  const bool isBracketed = text.starts_with('[');
  const auto hostEnd = isBracketed ? text.find(']') : text.find(':');
  if (isBracketed && hostEnd == std::string_view::npos) return false;
  url.host = isBracketed ? text.substr(1, hostEnd - 1) : text.substr(0, hostEnd);
  const auto rest = text.substr(std::min(text.size(), isBracketed ? hostEnd + 1 : hostEnd));
  const bool isPlain = std::all_of(url.host.begin(), url.host.end(),
                                   [](char c) { return c > 0x20 && c < 0x7F && c != '/' && c != '@'; });
  if (url.host.empty() || !isPlain) return false;
  if (rest.empty()) return true;
  const auto port = rest.starts_with(':') ? readPort(rest.substr(1)) : std::nullopt;
  url.port = port.value_or(0);
  return port.has_value();
}

}  // namespace

std::optional<IceUrl> parseIceUrl(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  IceUrl url;
  url.scheme = text.substr(0, colon);
  if (url.scheme != "stun" && url.scheme != "stuns" && url.scheme != "turn" && url.scheme != "turns")
    return std::nullopt;
  const bool isSecure = url.scheme.ends_with('s');
  url.port = isSecure ? kSecurePort : kPort;
  url.transport = isSecure ? "tcp" : "udp";
  const auto question = text.find('?', colon);
  if (!readHostAndPort(text.substr(colon + 1, question - colon - 1), url)) return std::nullopt;
  if (question == std::string_view::npos) return url;
  const auto query = text.substr(question + 1);
  if (!query.starts_with(kTransportField)) return std::nullopt;
  url.transport = query.substr(kTransportField.size());
  return url.transport == "udp" || url.transport == "tcp" ? std::optional(url) : std::nullopt;
}

}  // namespace tevanto
