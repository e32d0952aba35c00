#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tevanto {

/// ScreenStreamHello is the first message of a phone that wants the screen. Layout: docs/protocol.md,
/// section 7.1.
struct ScreenStreamHello {
  std::string token;
  std::int64_t width = 0;  // of the phone's view; nothing depends on it
  std::int64_t height = 0;
  bool prefersLowBandwidth = false;

  bool operator==(const ScreenStreamHello&) const = default;
};

/// The longest hello that is read, in bytes without the type byte.
inline constexpr std::size_t kMaxHelloBytes = 64 * 1024;

/// The whole message, type byte included.
std::vector<std::byte> helloMessage(const ScreenStreamHello& hello);
/// Takes what follows the type byte. All four members are needed, with their types; integers may be written
/// as 1280.0, booleans are no numbers.
std::optional<ScreenStreamHello> decodeHello(std::span<const std::byte> body);

}  // namespace tevanto
