#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto::test {

using Bytes = std::vector<std::byte>;

inline Bytes bytesOf(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

inline Bytes bytesOf(std::string_view text) {
  const auto span = std::as_bytes(std::span(text.data(), text.size()));
  return {span.begin(), span.end()};
}

inline Bytes copyOf(std::span<const std::byte> span) { return {span.begin(), span.end()}; }

inline std::string textOf(std::span<const std::byte> span) {
  return {reinterpret_cast<const char*>(span.data()), span.size()};
}

/// `size` bytes without a short period, so that a piece in the wrong place shows.
inline Bytes pattern(std::size_t size, std::uint32_t seed = 1) {
  Bytes bytes(size);
  std::uint32_t state = seed * 2654435761U + 1;
  for (auto& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::byte>(state >> 24);
  }
  return bytes;
}

/// A payload behind its length, as it travels on the screen connection.
inline std::string frameText(std::span<const std::byte> payload) {
  std::string frame;
  for (int shift = 24; shift >= 0; shift -= 8) frame += static_cast<char>((payload.size() >> shift) & 0xFF);
  return frame + textOf(payload);
}

}  // namespace tevanto::test
