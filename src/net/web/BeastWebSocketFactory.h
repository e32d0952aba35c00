#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "core/queue/EventLoop.h"
#include "net/web/HttpClient.h"
#include "net/web/WebSocketConnection.h"

namespace tevanto {

class AsioTlsContext;

/// WebSocketLimits tells how long a WebSocket waits for its server.
struct WebSocketLimits {
  /// From the start to the open socket. A caller with a shorter deadline cancels.
  std::chrono::milliseconds open{60'000};
  std::chrono::milliseconds pong{20'000};
  /// For what is unsent, and for the server's own close frame.
  std::chrono::milliseconds close{2'000};
};

/// BeastWebSocketFactory makes WebSockets over sockets of the event loop.
/// The queue given to a connection's `start` must belong to the same loop.
class BeastWebSocketFactory final : public WebSocketFactory {
 public:
  explicit BeastWebSocketFactory(std::shared_ptr<EventLoop> loop, const TlsTrust& trust = {},
                                 WebSocketLimits limits = {});
  std::shared_ptr<WebSocketConnection> create(const std::string& url) override;

 private:
  std::shared_ptr<EventLoop> loop_;
  std::shared_ptr<AsioTlsContext> tls_;
  const WebSocketLimits limits_;
};

}  // namespace tevanto
