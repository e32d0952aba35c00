#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tevanto {

/// `name` as a DNS-SD service name (docs/protocol.md, section 3): valid UTF-8 of at most 63 bytes (RFC 6763,
/// 4.1.1), cut between two code points.
std::string serviceNameFrom(std::string_view name);

/// The entries as the data of a TXT record (RFC 6763, 6.1): each "key=value" behind its length in one byte;
/// one empty entry where there is none. An entry whose key is none, or that is longer than 255 bytes, is left
/// out.
std::vector<std::byte> textRecordOf(const std::vector<std::pair<std::string, std::string>>& entries);

}  // namespace tevanto
