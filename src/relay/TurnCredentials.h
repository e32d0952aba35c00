#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "relay/RelayOptions.h"

namespace tevanto::relay {

/// A user name and password that a TURN server with the same secret accepts until the time in the name: the
/// scheme of draft-uberti-behave-turn-rest-00, which coturn calls `use-auth-secret`.
struct TurnCredentials {
  std::string username;  // seconds since 1970, and ":name" when there is one
  std::string credential;

  static TurnCredentials make(std::string_view secret, std::chrono::sys_seconds expiry,
                              std::string_view name);
};

/// The JSON that clients fetch: {"iceServers": [...]}.
std::string turnCredentialsJson(const TurnOptions& options, std::chrono::sys_seconds now);

}  // namespace tevanto::relay
