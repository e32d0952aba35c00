#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace tevanto {

// The binding request and its answer (RFC 8489), all numbers big-endian:
//
//   type 16 | length 16 | magic cookie 32 | transaction 96 | attributes: type 16 | length 16 | value, padded
//   to 4
//
// `length` counts the attributes alone.

/// Random in each request; an answer repeats it.
using StunTransaction = std::array<std::byte, 12>;

constexpr std::size_t kStunHeaderBytes = 20;

std::array<std::byte, kStunHeaderBytes> stunBindingRequest(const StunTransaction& transaction);

/// StunAnswer is the answer of a server: the address that it saw, as "203.0.113.7:4711" or
/// "[2001:db8::1]:4711", or its error (300 to 699).
struct StunAnswer {
  std::string address;
  int error = 0;  // 0: none

  bool operator==(const StunAnswer&) const = default;
};

/// Reads one datagram; nothing when it is no whole answer to this transaction, or says neither. Attributes
/// that are not known are passed over, whatever their range: old servers send some that were withdrawn.
std::optional<StunAnswer> readStunAnswer(std::span<const std::byte> datagram,
                                         const StunTransaction& transaction);

}  // namespace tevanto
