#pragma once

// Private to the socket classes of this folder: shows types of Boost.Asio.

#include <cstdint>
#include <memory>
#include <string>

#include "core/queue/EventLoopCore.h"
#include "net/tcp/AsioSocket.h"
#include "net/tcp/TcpConnection.h"

namespace tevanto {

class TcpStream;

/// AsioSocketConnection is a TCP connection over a socket of the event loop, accepted or yet to connect.
/// Lives on the queue given to `start`; it may be destroyed on any thread.
class AsioSocketConnection final : public TcpConnection {
 public:
  AsioSocketConnection(std::shared_ptr<EventLoop::Core> loop, AsioSocket accepted);
  AsioSocketConnection(std::shared_ptr<EventLoop::Core> loop, std::string host, std::uint16_t port);
  ~AsioSocketConnection() override;

  void setStateHandler(StateHandler handler) override;
  void setReceiveHandler(ReceiveHandler handler) override;
  void start(std::shared_ptr<SerialQueue> queue) override;
  void receive(std::size_t maxBytes) override;
  void receive(ReceiveRoom room) override;
  void send(std::span<const std::byte> bytes) override;
  void send(std::span<const std::byte> head, SharedBytes body, Task processed) override;
  std::size_t pendingBytes() const override;
  void cancel() override;
  std::string peerName() const override;

 private:
  std::shared_ptr<EventLoop::Core> loop_;
  std::shared_ptr<SerialQueue> queue_;  // once started
  std::shared_ptr<TcpStream> stream_;
};

}  // namespace tevanto
