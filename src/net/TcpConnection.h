#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "core/SerialQueue.h"

namespace tevanto {

/// The life of a platform connection. `failed` and `cancelled` are final; exactly one of them is reported.
enum class ConnectionState { setup, waiting, preparing, ready, failed, cancelled };

/// What one receive brought: bytes (valid during the callback only), whether the stream ended, and a fault if
/// any.
struct Received {
  std::span<const std::byte> bytes;
  bool endOfStream = false;
  std::optional<std::string> error;
};

/// One TCP connection of the platform. Lives on the queue given to `start`: every call after that and every
/// callback happens there. After a final state nothing more is called back.
class TcpConnection {
 public:
  using StateHandler = std::function<void(ConnectionState)>;
  using ReceiveHandler = std::function<void(const Received&)>;

  virtual ~TcpConnection() = default;

  /// Must be set before `start`.
  virtual void setStateHandler(StateHandler handler) = 0;
  virtual void start(std::shared_ptr<SerialQueue> queue) = 0;
  /// Asks once for 1 to `maxBytes` bytes. Only one receive may be open at a time.
  virtual void receive(std::size_t maxBytes, ReceiveHandler handler) = 0;
  /// Queues the bytes behind those still unsent; they are written together when the current turn of the queue
  /// ends. What the kernel refuses is kept, up to `kMaxPendingBytes`; beyond that the connection fails.
  virtual void send(std::span<const std::byte> bytes) = 0;
  /// Bytes given to `send` that the kernel has not taken yet.
  virtual std::size_t pendingBytes() const = 0;
  /// Ends the connection; reports `cancelled` unless it already ended.
  virtual void cancel() = 0;
  /// "address:port" of the peer, for logs and status.
  virtual std::string peerName() const = 0;

  static constexpr std::size_t kMaxPendingBytes = 8 * 1024 * 1024;
};

}  // namespace tevanto
