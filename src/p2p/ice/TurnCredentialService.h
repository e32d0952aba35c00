#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "net/web/HttpClient.h"
#include "p2p/ice/RemoteIceServerConfig.h"

namespace tevanto {

/// "https://host[:port]/turn-credentials" for "wss://host[:port]", "http://..." for "ws://..."; nothing for
/// another scheme or no host.
std::optional<std::string> credentialURL(std::string_view relayURL);

/// TurnCredentialService asks the credential services of the signaling relays for TURN servers. Request and
/// answer: docs/protocol.md, section 9.1. Thread-safe.
class TurnCredentialService {
 public:
  /// Completion receives the servers, or nothing when no service gave a readable answer.
  using Completion = std::function<void(std::optional<std::vector<RemoteIceServerConfig>>)>;

  /// For each relay: a slow service must not hold up a call.
  static constexpr std::chrono::milliseconds kTimeout{4000};

  explicit TurnCredentialService(std::shared_ptr<HttpClient> http) : http_(std::move(http)) {}

  /// Asks the services of the relays one after another until one answers readably. `done` is called once, on
  /// `queue`, never inside this call.
  void fetch(const std::vector<std::string>& relayURLs, std::shared_ptr<SerialQueue> queue,
             Completion done) const;

 private:
  const std::shared_ptr<HttpClient> http_;
};

}  // namespace tevanto
