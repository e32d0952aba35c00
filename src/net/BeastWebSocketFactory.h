#pragma once

#include <memory>
#include <string>

#include "core/EventLoop.h"
#include "net/TlsTrust.h"
#include "net/WebSocketConnection.h"

namespace tevanto {

class AsioTlsContext;

/// Makes WebSockets over sockets of the event loop. The queue given to a connection's `start` must belong to
/// the same loop.
class BeastWebSocketFactory final : public WebSocketFactory {
 public:
  explicit BeastWebSocketFactory(std::shared_ptr<EventLoop> loop, const TlsTrust& trust = {});
  std::shared_ptr<WebSocketConnection> create(const std::string& url) override;

 private:
  std::shared_ptr<EventLoop> loop_;
  std::shared_ptr<AsioTlsContext> tls_;
};

}  // namespace tevanto
