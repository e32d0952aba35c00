#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "phone/connection/Answer.h"
#include "phone/connection/Channel.h"
#include "phone/connection/Endpoint.h"
#include "phone/connection/TcpSocket.h"
#include "screen/wire/FrameExtractor.h"

namespace tevanto::phone {

/// ScreenSocket is a screen channel over TCP.
class ScreenSocket final : public ScreenChannel {
 public:
  static Answer<std::unique_ptr<ScreenSocket>> connect(const Endpoint& endpoint,
                                                       std::chrono::milliseconds timeout);

  bool send(std::span<const std::byte> message) override;
  Received receive(const MessageHandler& onMessage) override;
  int descriptor() const override { return socket_.descriptor(); }
  std::size_t receivedBytes() const override { return receivedBytes_; }

 private:
  ScreenSocket(TcpSocket socket, std::chrono::milliseconds timeout)
      : socket_(std::move(socket)), timeout_(timeout) {}

  TcpSocket socket_;
  std::chrono::milliseconds timeout_;
  FrameExtractor frames_;
  std::size_t receivedBytes_ = 0;
};

}  // namespace tevanto::phone
