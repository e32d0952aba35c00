#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/Result.h"
#include "core/queue/EventLoop.h"
#include "net/tcp/TcpConnection.h"

namespace tevanto {

/// AsioTcpConnector opens TCP connections from this side, over sockets of the event loop.
/// The queue given to the connection's `start` must belong to the same loop.
class AsioTcpConnector {
 public:
  explicit AsioTcpConnector(std::shared_ptr<EventLoop> loop);
  /// A connection that on `start` resolves `host` and tries its addresses in turn. `ready` or `failed` tells
  /// the end.
  std::unique_ptr<TcpConnection> connection(std::string host, std::uint16_t port);

 private:
  std::shared_ptr<EventLoop> loop_;
};

}  // namespace tevanto
