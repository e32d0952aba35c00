#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <span>
#include <utility>

#include "phone/Answer.h"
#include "phone/Endpoint.h"
#include "phone/TcpSocket.h"
#include "screen/FrameExtractor.h"

namespace tevanto::phone {

/// The phone's end of the screen connection: whole messages in both directions.
class ScreenSocket {
 public:
  enum class Received { open, closed };
  using MessageHandler = std::function<void(std::span<const std::byte> message)>;

  static Answer<ScreenSocket> connect(const Endpoint& endpoint, std::chrono::milliseconds timeout);

  /// False when the peer is gone or does not take the message in time.
  bool send(std::span<const std::byte> message);
  /// Takes what has arrived, or a good piece of it, without waiting. `closed` also after a frame that is
  /// larger than any can be.
  Received receive(const MessageHandler& onMessage);
  /// For poll(2).
  int descriptor() const { return socket_.descriptor(); }
  std::size_t receivedBytes() const { return receivedBytes_; }

 private:
  ScreenSocket(TcpSocket socket, std::chrono::milliseconds timeout)
      : socket_(std::move(socket)), timeout_(timeout) {}

  TcpSocket socket_;
  std::chrono::milliseconds timeout_;
  FrameExtractor frames_;
  std::size_t receivedBytes_ = 0;
};

}  // namespace tevanto::phone
