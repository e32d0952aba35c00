#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "core/Result.h"
#include "core/queue/SerialQueue.h"
#include "net/tcp/TcpConnection.h"

namespace tevanto {

/// ListenerState is the state of a listener. `failed` and `cancelled` are final.
enum class ListenerState { setup, waiting, ready, failed, cancelled };

/// ListenScope tells from where connections are accepted.
enum class ListenScope { everywhere, loopback };

/// TcpListener is a bound TCP listener of the platform, IPv4 and IPv6.
/// Lives on the queue given to `start`.
class TcpListener {
 public:
  virtual ~TcpListener() = default;

  /// Both must be set before `start`.
  virtual void setStateHandler(std::function<void(ListenerState)> handler) = 0;
  virtual void setConnectionHandler(std::function<void(std::unique_ptr<TcpConnection>)> handler) = 0;
  virtual void start(std::shared_ptr<SerialQueue> queue) = 0;
  virtual void cancel() = 0;
  /// The port it is bound to.
  virtual std::uint16_t port() const = 0;
};

/// TcpListenerFactory binds a listener to a port (0: any free one), or tells why it cannot be bound.
class TcpListenerFactory {
 public:
  virtual ~TcpListenerFactory() = default;
  virtual Result<std::unique_ptr<TcpListener>> listen(std::uint16_t port) = 0;
};

}  // namespace tevanto
