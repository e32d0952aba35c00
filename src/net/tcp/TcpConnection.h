#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "core/queue/Task.h"

namespace tevanto {

/// ConnectionState is the state of a platform connection. `failed` and `cancelled` are final; exactly one of
/// them is reported.
///
///     setup --start--> preparing --> ready --> failed      (fault, or the peer has ended its stream)
///                          |           +-----> cancelled   (`cancel`)
///                          +--> failed or cancelled
enum class ConnectionState { setup, waiting, preparing, ready, failed, cancelled };

/// Received is the outcome of one receive: bytes, whether the stream ended, and a fault if any. The bytes are
/// valid until the callback returns or asks for more, whichever comes first.
struct Received {
  std::span<const std::byte> bytes;
  bool endOfStream = false;
  std::optional<std::string> error;
};

/// SharedBytes holds shared bytes that do not change.
using SharedBytes = std::shared_ptr<const std::vector<std::byte>>;

/// ReceiveRoom is memory that a receive may write into, with its owner.
struct ReceiveRoom {
  std::span<std::byte> bytes;
  std::shared_ptr<void> owner;
};

/// TcpConnection is one TCP connection of the platform. After a final state, and after its destruction,
/// nothing is called back any more.
/// Lives on the queue given to `start`: every call after that and every callback happens there, never inside
/// a call. Each callback has a turn of its own, but a few receives that follow each other may share one.
/// Destroy it on the queue where possible.
class TcpConnection {
 public:
  using StateHandler = std::function<void(ConnectionState)>;
  using ReceiveHandler = std::function<void(const Received&)>;

  virtual ~TcpConnection() = default;

  /// Both must be set before `start`.
  virtual void setStateHandler(StateHandler handler) = 0;
  virtual void setReceiveHandler(ReceiveHandler handler) = 0;
  virtual void start(std::shared_ptr<SerialQueue> queue) = 0;
  /// Asks once for 1 to `maxBytes` bytes (never more than `kMaxReceiveBytes`), which come to the receive
  /// handler; before `ready` it waits. Only one receive may be open at a time. After the end of the peer's
  /// stream has come, what is still unsent is offered to the kernel once and the connection ends as `failed`.
  virtual void receive(std::size_t maxBytes) = 0;
  /// The same straight into the caller's memory, which stays alive and is left alone until the bytes have
  /// come: they lie at its beginning. It must not be empty.
  virtual void receive(ReceiveRoom room) = 0;
  /// Queues the bytes behind those still unsent; they are written together when the current turn of the
  /// queue ends. Bytes that the kernel refuses are kept, up to `kMaxPendingBytes`; beyond that the
  /// connection fails.
  virtual void send(std::span<const std::byte> bytes) = 0;
  /// The same for a few bytes and, without a copy, those of `body` behind them. `processed` runs in a turn
  /// of its own, once the kernel has taken the last of them or the connection has ended.
  virtual void send(std::span<const std::byte> head, SharedBytes body, Task processed) = 0;
  /// Bytes given to `send` that the kernel has not taken yet.
  virtual std::size_t pendingBytes() const = 0;
  /// Ends the connection and frees its descriptor; `cancelled` is reported in the queue's next turn, unless
  /// it already ended.
  virtual void cancel() = 0;
  /// "address:port" of the peer, for logs and status.
  virtual std::string peerName() const = 0;

  static constexpr std::size_t kMaxReceiveBytes = 64 * 1024;
  static constexpr std::size_t kMaxPendingBytes = 8 * 1024 * 1024;
};

}  // namespace tevanto
