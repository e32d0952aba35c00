#pragma once

#include <cstddef>
#include <functional>

#include "net/tcp/TcpConnection.h"

namespace tevanto {

/// ScreenRoute sends a session's messages to the phone. The senders return whether the route took the
/// message; they refuse once the route is gone. Called on the encoder's thread.
struct ScreenRoute {
  std::function<bool(SharedBytes message)> sendParameterSets;
  std::function<bool(SharedBytes message, bool isKeyframe)> sendFrame;
  /// True when it has the room for a key frame's message of so many bytes now; any thread. An empty route
  /// always has it, as it will not have more, even where the message alone exceeds its limit. Unset: not
  /// known.
  std::function<bool(std::size_t bytes)> takesKeyframe;
};

}  // namespace tevanto
