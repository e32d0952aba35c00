#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// SignalRole is the side of the pairing that a client of the relay represents.
enum class SignalRole { mac, phone };

/// "mac" or "phone".
std::string_view toString(SignalRole role);

/// TransportRole is the side of a negotiation that a transport takes. The phone offers, the computer
/// answers.
enum class TransportRole : std::uint8_t { offerer = 0, answerer = 1 };

constexpr std::string_view toString(TransportRole role) {
  return role == TransportRole::offerer ? "offerer" : "answerer";
}

constexpr SignalRole signalRole(TransportRole role) {
  return role == TransportRole::offerer ? SignalRole::phone : SignalRole::mac;
}

/// SignalIceCandidate is one ICE candidate as it travels with an offer or an answer.
struct SignalIceCandidate {
  std::string candidate;
  std::optional<std::string> sdpMid = {};
  std::optional<std::int32_t> sdpMLineIndex = {};

  bool operator==(const SignalIceCandidate&) const = default;
};

/// SignalMessage is one signal between two peers that have no channel yet. Layout: docs/protocol.md,
/// section 9.3. Members are encoded in this order; absent ones are omitted.
struct SignalMessage {
  std::string type;
  std::optional<std::string> sdp = {};
  std::optional<std::string> candidate = {};
  std::optional<std::string> sdpMid = {};
  std::optional<std::int32_t> sdpMLineIndex = {};
  std::optional<std::vector<SignalIceCandidate>> candidates = {};

  bool operator==(const SignalMessage&) const = default;
};

std::string encodeSignalMessage(const SignalMessage& message);
/// Nothing for a text that is no signal: wrong types, no "type", invalid JSON or UTF-8.
std::optional<SignalMessage> decodeSignalMessage(std::string_view json);

}  // namespace tevanto
