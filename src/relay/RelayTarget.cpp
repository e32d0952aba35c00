#include "relay/RelayTarget.h"

#include <algorithm>
#include <utility>

#include "core/text/Text.h"

namespace tevanto::relay {
namespace {

std::optional<int> hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    if (text.size() - i < 3) return std::nullopt;
    const auto high = hexDigit(text[i + 1]);
    const auto low = hexDigit(text[i + 2]);
    if (!high || !low) return std::nullopt;
    decoded += static_cast<char>(*high * 16 + *low);
    i += 2;
  }
  return decoded;
}

/// What stands before and after the first `mark`; the second is empty without one.
std::pair<std::string_view, std::string_view> cutAt(std::string_view text, char mark) {
  const auto at = text.find(mark);
  if (at == std::string_view::npos) return {text, {}};
  return {text.substr(0, at), text.substr(at + 1)};
}

std::size_t characterCount(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(
      utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace

std::optional<std::string> RelayTarget::validRoom() const {
  if (!room || room->empty() || characterCount(*room) > kMaxRoomCharacters) return std::nullopt;
  if (wellFormedUtf8(*room) != *room) return std::nullopt;
  return room;
}

std::optional<RoomRole> RelayTarget::validRole() const { return role ? roomRoleFrom(*role) : std::nullopt; }

std::optional<RelayTarget> parseRelayTarget(std::string_view target) {
  if (!target.starts_with('/')) return std::nullopt;
  const auto [path, rest] = cutAt(target, '?');
  auto decodedPath = percentDecoded(path);
  if (!decodedPath) return std::nullopt;
  RelayTarget found{.path = std::move(*decodedPath), .room = {}, .role = {}};
  std::string_view query = cutAt(rest, '#').first;
  while (!query.empty()) {
    const auto [item, more] = cutAt(query, '&');
    query = more;
    const auto [name, value] = cutAt(item, '=');
    auto decodedName = percentDecoded(name);
    auto decodedValue = percentDecoded(value);
    if (!decodedName || !decodedValue) return std::nullopt;
    auto* wanted = *decodedName == "room" ? &found.room : *decodedName == "role" ? &found.role : nullptr;
    if (wanted && !*wanted) *wanted = std::move(decodedValue);
  }
  return found;
}

}  // namespace tevanto::relay
