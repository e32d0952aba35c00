#pragma once

#include <string>

namespace tevanto::relay {

/// What the relay looks at in the head of a request.
struct RelayRequest {
  std::string method;
  std::string target;
  /// Asks to become a WebSocket.
  bool isUpgrade = false;
  /// The values of X-Forwarded-For, joined by commas.
  std::string forwardedFor;
};

}  // namespace tevanto::relay
