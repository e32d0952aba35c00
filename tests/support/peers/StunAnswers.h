#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tevanto::test {

using StunBytes = std::vector<std::byte>;

inline StunBytes stunBytes(std::initializer_list<int> values) {
  StunBytes made;
  for (const auto value : values) made.push_back(static_cast<std::byte>(value));
  return made;
}

/// One attribute, padded.
inline StunBytes stunAttribute(int type, const StunBytes& value) {
  const auto length = static_cast<int>(value.size());
  auto made = stunBytes({type >> 8, type & 0xFF, length >> 8, length & 0xFF});
  made.insert(made.end(), value.begin(), value.end());
  made.resize((made.size() + 3) / 4 * 4);
  return made;
}

/// A message to the request whose bytes are given: its cookie and its transaction.
inline StunBytes stunAnswerTo(std::span<const std::byte> request, int type, const StunBytes& attributes) {
  const auto length = static_cast<int>(attributes.size());
  auto made = stunBytes({type >> 8, type & 0xFF, length >> 8, length & 0xFF});
  made.insert(made.end(), request.begin() + 4, request.begin() + 20);
  made.insert(made.end(), attributes.begin(), attributes.end());
  return made;
}

constexpr int kStunSuccess = 0x0101;
constexpr int kStunError = 0x0111;
constexpr int kStunXorMappedAddress = 0x0020;
constexpr int kStunErrorCode = 0x0009;

/// 192.0.2.1:32853, the example of RFC 5769, section 2.2.
inline StunBytes exampleAddress() {
  return stunAttribute(kStunXorMappedAddress, stunBytes({0, 1, 0xA1, 0x47, 0xE1, 0x12, 0xA6, 0x43}));
}

}  // namespace tevanto::test
