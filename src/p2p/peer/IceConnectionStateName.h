#pragma once

#include <string_view>

#include "p2p/peer/PeerConnection.h"

namespace tevanto {

constexpr std::string_view toString(IceConnectionState state) {
  switch (state) {
    case IceConnectionState::new_:
      return "new";
    case IceConnectionState::checking:
      return "checking";
    case IceConnectionState::connected:
      return "connected";
    case IceConnectionState::completed:
      return "completed";
    case IceConnectionState::failed:
      return "failed";
    case IceConnectionState::disconnected:
      return "disconnected";
    case IceConnectionState::closed:
      return "closed";
    case IceConnectionState::count:
      return "count";
  }
  return "unknown";
}

/// Whether packets get through.
constexpr bool isConnected(IceConnectionState state) {
  return state == IceConnectionState::connected || state == IceConnectionState::completed;
}

}  // namespace tevanto
