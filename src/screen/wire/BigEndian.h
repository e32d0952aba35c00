#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tevanto {

/// Reads an integer, most significant byte first (docs/protocol.md, section 2). The caller has checked that
/// the bytes are there.
template <class Integer>
Integer readBigEndian(std::span<const std::byte> bytes) {
  Integer value = 0;
  for (std::size_t i = 0; i < sizeof(Integer); ++i) {
    value = static_cast<Integer>((value << 8) | std::to_integer<Integer>(bytes[i]));
  }
  return value;
}

template <class Integer>
std::array<std::byte, sizeof(Integer)> bigEndian(Integer value) {
  std::array<std::byte, sizeof(Integer)> bytes{};
  for (std::size_t i = 0; i < sizeof(Integer); ++i) {
    bytes[i] = static_cast<std::byte>((value >> (8 * (sizeof(Integer) - 1 - i))) & 0xFF);
  }
  return bytes;
}

/// Over what lies at `place`.
template <class Integer, class Iterator>
void writeBigEndian(Integer value, Iterator place) {
  const auto bytes = bigEndian(value);
  std::copy(bytes.begin(), bytes.end(), place);
}

}  // namespace tevanto
