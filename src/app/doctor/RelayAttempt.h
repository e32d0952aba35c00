#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/Result.h"
#include "core/queue/SerialQueue.h"
#include "p2p/ice/RemoteIceServerConfig.h"

namespace tevanto {

class HttpClient;
class WebSocketFactory;

/// Enters a room of its own at the relay and waits for a pong there. Returns the finding, or one sentence
/// with the remedy. Blocks for 8 seconds at most.
Result<std::string> tryRelay(WebSocketFactory& sockets, std::shared_ptr<SerialQueue> queue,
                             const std::string& relayURL);

/// The TURN servers that the credential service beside the relay hands out: none when it says that it has
/// none. Blocks for 5 seconds at most.
Result<std::vector<RemoteIceServerConfig>> tryCredentials(HttpClient& http,
                                                          std::shared_ptr<SerialQueue> queue,
                                                          const std::string& relayURL);

}  // namespace tevanto
