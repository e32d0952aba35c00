#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>

#include "net/tcp/TcpConnection.h"
#include "screen/wire/FrameExtractor.h"

namespace tevanto {

/// FramedConnection carries the screen stream over one TCP connection, in frames (FrameExtractor). Layout:
/// docs/protocol.md, section 8. It counts the bytes on their way out, so that its owner can drop video
/// frames instead of building a queue.
/// Lives on the queue given to `start`; only `send` is thread-safe.
/// Owned by the server.
class FramedConnection final : public std::enable_shared_from_this<FramedConnection> {
 public:
  explicit FramedConnection(std::unique_ptr<TcpConnection> connection);
  ~FramedConnection();

  /// Once for each frame received; the payload is valid during the call only. Nothing comes after `cancel`.
  std::function<void(std::span<const std::byte> payload)> onData;
  /// Every state of the platform connection.
  std::function<void(ConnectionState)> onStateChange;

  /// The callbacks must be set before.
  void start(std::shared_ptr<SerialQueue> queue);
  /// Sends one frame, unless the bytes on their way out, this frame's header included, would exceed
  /// `maxPendingBytes`; `force` sends it in any case. Returns true when it was sent. After `start`, from any
  /// thread; frames go out in the order of the calls of one thread.
  bool send(SharedBytes payload, std::int64_t maxPendingBytes, bool force);
  /// True when `send` would send a payload of so many bytes now.
  bool wouldSend(std::size_t payloadBytes, std::int64_t maxPendingBytes) const;
  void cancel();
  std::string peerName() const { return connection_->peerName(); }

  /// Bytes of frames, headers included, that the network has not processed yet.
  std::int64_t pendingSendBytes() const;

 private:
  void receive();
  void received(const Received& received);
  FrameExtractor::Outcome extract(std::span<const std::byte> bytes);
  bool reserve(std::int64_t frameBytes, std::int64_t maxPendingBytes, bool force);
  void processed(std::int64_t frameBytes);
  void transmit(SharedBytes payload);

  std::unique_ptr<TcpConnection> connection_;
  std::shared_ptr<SerialQueue> queue_;
  FrameExtractor extractor_;
  bool receivesIntoFrame_ = false;  // the open receive: into the extractor's own memory
  bool cancelled_ = false;
  mutable std::mutex sendLock_;
  std::int64_t pendingSendBytes_ = 0;
};

}  // namespace tevanto
