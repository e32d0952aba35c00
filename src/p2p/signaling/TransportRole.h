#pragma once

#include <cstdint>
#include <string_view>

#include "p2p/signaling/SignalMessage.h"

namespace tevanto {

/// Which side of a negotiation a transport takes. The phone offers, the computer answers.
enum class TransportRole : std::uint8_t { offerer = 0, answerer = 1 };

constexpr std::string_view toString(TransportRole role) {
  return role == TransportRole::offerer ? "offerer" : "answerer";
}

constexpr SignalRole signalRole(TransportRole role) {
  return role == TransportRole::offerer ? SignalRole::phone : SignalRole::mac;
}

}  // namespace tevanto
