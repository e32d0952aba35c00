#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// Standard base64 (RFC 4648, section 4), padded, without line breaks.
std::string base64(std::span<const std::byte> bytes);

/// The bytes behind such a text; nothing when it is anything else.
std::optional<std::vector<std::byte>> fromBase64(std::string_view text);

}  // namespace tevanto
