#include "net/Url.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace tevanto {
namespace {

constexpr std::array<std::string_view, 4> kSchemes = {"http", "https", "ws", "wss"};

bool isPrintable(char c) { return c > 0x20 && c < 0x7F; }

char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isUnreserved(char c) {
  const char low = lowered(c);
  return (low >= 'a' && low <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("-._~").find(c) != std::string_view::npos;
}

bool isAddressCharacter(char c) {
  const char low = lowered(c);
  return isUnreserved(c) || (low >= 'a' && low <= 'f') || c == ':' || c == '%';
}

bool readPort(std::string_view digits, Url& url) {
  if (digits.empty()) return true;  // "host:" is the default port
  const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), url.port);
  return fault == std::errc() && end == digits.data() + digits.size() && url.port != 0;
}

/// The address between brackets. A zone (RFC 6874) comes as "%25name".
bool readAddress(std::string_view address, Url& url) {
  url.host = address;
  if (const auto zone = url.host.find("%25"); zone != std::string::npos) url.host.erase(zone + 1, 2);
  return url.host.find(':') != std::string::npos &&
         std::all_of(url.host.begin(), url.host.end(), isAddressCharacter);
}

bool readAuthority(std::string_view authority, Url& url) {
  if (authority.starts_with('[')) {
    const auto end = authority.find(']');
    if (end == std::string_view::npos || !readAddress(authority.substr(1, end - 1), url)) return false;
    const auto rest = authority.substr(end + 1);
    return rest.empty() || (rest.front() == ':' && readPort(rest.substr(1), url));
  }
  const auto colon = authority.find(':');
  url.host = authority.substr(0, colon);
  if (url.host.empty() || !std::all_of(url.host.begin(), url.host.end(), isUnreserved)) return false;
  return colon == std::string_view::npos || readPort(authority.substr(colon + 1), url);
}

}  // namespace

std::string Url::authority() const {
  std::string text = host;
  if (host.find(':') != std::string::npos) {
    if (const auto zone = text.find('%'); zone != std::string::npos) text.insert(zone + 1, "25");
    text = "[" + text + "]";
  }
  return hasDefaultPort() ? text : text + ":" + std::to_string(port);
}

std::string Url::text() const { return scheme + "://" + authority() + target; }

std::optional<Url> parseUrl(std::string_view text) {
  if (!std::all_of(text.begin(), text.end(), isPrintable)) return std::nullopt;
  const auto colon = text.find("://");
  if (colon == std::string_view::npos) return std::nullopt;
  Url url;
  for (const char c : text.substr(0, colon)) url.scheme += lowered(c);
  if (std::find(kSchemes.begin(), kSchemes.end(), url.scheme) == kSchemes.end()) return std::nullopt;
  url.port = url.isSecure() ? 443 : 80;
  auto rest = text.substr(colon + 3);
  rest = rest.substr(0, rest.find('#'));
  const auto pathStart = std::min(rest.find_first_of("/?"), rest.size());
  if (!readAuthority(rest.substr(0, pathStart), url)) return std::nullopt;
  const auto target = rest.substr(pathStart);
  url.target = target.starts_with('/') ? std::string(target) : "/" + std::string(target);
  return url;
}

std::string percentEncoded(std::string_view bytes) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string out;
  for (const char c : bytes) {
    if (isUnreserved(c)) {
      out += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    }
  }
  return out;
}

}  // namespace tevanto
