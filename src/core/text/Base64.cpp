#include "core/text/Base64.h"

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>
#include <cstdint>

namespace tevanto {

std::string base64(std::span<const std::byte> bytes) {
  namespace iterators = boost::archive::iterators;
  using Sextets = iterators::base64_from_binary<iterators::transform_width<const char*, 6, 8>>;
  // The sextets look ahead past the last byte in groups of three, so they are given whole groups.
  std::string groups(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::size_t padding = (3 - bytes.size() % 3) % 3;
  groups.append(padding, '\0');
  std::string text(Sextets(groups.data()), Sextets(groups.data() + groups.size()));
  text.replace(text.size() - padding, padding, padding, '=');
  return text;
}

std::optional<std::vector<std::byte>> fromBase64(std::string_view text) {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  text.remove_suffix(padding);
  std::vector<std::byte> bytes;
  bytes.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  int held = 0;  // bits that do not make a byte yet
  for (const char character : text) {
    const auto sextet = alphabet.find(character);
    if (sextet == std::string_view::npos) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(sextet);
    held += 6;
    if (held < 8) continue;
    held -= 8;
    bytes.push_back(static_cast<std::byte>(bits >> held & 0xFF));
  }
  return bytes;
}

}  // namespace tevanto
