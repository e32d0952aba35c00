#pragma once

#include <functional>
#include <memory>

#include "core/queue/EventLoop.h"
#include "net/tcp/KeepAlive.h"
#include "net/tcp/TcpListener.h"

namespace tevanto {

/// AsioTcpListenerFactory makes listeners over sockets of the event loop: one socket for IPv4, and one for
/// IPv6 where the machine has it.
/// The queue given to a listener's `start` must belong to the same loop; accepted connections live there too.
class AsioTcpListenerFactory final : public TcpListenerFactory {
 public:
  /// SocketPreparation prepares each socket, by its descriptor, before it is bound, as the system needs.
  /// Listening does not depend on the outcome.
  using SocketPreparation = std::function<void(int descriptor)>;

  /// `keepAlive`: of the connections that are accepted.
  AsioTcpListenerFactory(std::shared_ptr<EventLoop> loop, ListenScope scope,
                         SocketPreparation prepare = nullptr, KeepAlive keepAlive = {});
  Result<std::unique_ptr<TcpListener>> listen(std::uint16_t port) override;

 private:
  std::shared_ptr<EventLoop> loop_;
  ListenScope scope_;
  SocketPreparation prepare_;
  KeepAlive keepAlive_;
};

}  // namespace tevanto
