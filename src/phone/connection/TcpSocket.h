#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "core/Descriptor.h"
#include "core/Result.h"

namespace tevanto::phone {

/// TcpSocket is a TCP connection for a caller that waits. Every wait has a deadline.
class TcpSocket {
 public:
  using Deadline = std::chrono::steady_clock::time_point;
  enum class Received { bytes, nothingYet, closed };

  /// Resolves `host` and tries its addresses in turn.
  static Result<TcpSocket> connect(const std::string& host, std::uint16_t port, Deadline deadline);

  /// False when the peer is gone or does not take the bytes in time.
  bool send(std::span<const std::byte> bytes, Deadline deadline);
  /// Waits for bytes, puts them into the front of `space`, and says how many they are. `nothingYet` at the
  /// deadline.
  Received receive(std::span<std::byte> space, std::size_t& count, Deadline deadline);
  /// For poll(2) together with other descriptors.
  int descriptor() const { return descriptor_.get(); }

 private:
  explicit TcpSocket(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

  Descriptor descriptor_;
};

}  // namespace tevanto::phone
