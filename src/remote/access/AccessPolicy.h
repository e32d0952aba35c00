#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace tevanto {

/// AccessPolicy decides which phones may use this computer and how much one line of theirs may hold. The
/// servers of the control channel and of the screen ask it and hold no such rule themselves.
///
/// Thread-safe: each server asks on its own queue. No method waits.
class AccessPolicy {
 public:
  static constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();

  virtual ~AccessPolicy() = default;
  /// One attempt to pair: `code` came with the request, `shown` is the pairing code that the user sees now.
  virtual bool allowsPairing(const std::optional<std::string>& code, std::string_view shown) = 0;
  /// `token` came with a "sessionHello".
  virtual bool allowsSession(const std::optional<std::string>& token) const = 0;
  /// `token` came with a "command". Asked for every command, so that it must not allocate memory.
  virtual bool allowsCommand(const std::optional<std::string>& token) const = 0;
  /// `token` came with the hello of the screen stream.
  virtual bool allowsScreen(std::string_view token) const = 0;
  /// The most bytes of a line, without its line feed. A longer line ends its connection.
  virtual std::size_t maximumLineBytes() const = 0;
};

}  // namespace tevanto
