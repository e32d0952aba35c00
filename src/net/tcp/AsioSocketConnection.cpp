#include "net/tcp/AsioSocketConnection.h"

#include <utility>

#include "net/tcp/TcpStream.h"

namespace tevanto {

AsioSocketConnection::AsioSocketConnection(std::shared_ptr<EventLoop::Core> loop, AsioSocket accepted)
    : loop_(std::move(loop)), stream_(std::make_shared<TcpStream>(std::move(accepted), "", 0)) {}

AsioSocketConnection::AsioSocketConnection(std::shared_ptr<EventLoop::Core> loop, std::string host,
                                           std::uint16_t port)
    : loop_(std::move(loop)),
      stream_(std::make_shared<TcpStream>(AsioSocket(loop_->context.get_executor()), std::move(host), port)) {
}

AsioSocketConnection::~AsioSocketConnection() {
  if (!queue_ || queue_->isCurrent()) {
    stream_->closeSilently();
  } else {
    queue_->async([stream = stream_] { stream->closeSilently(); });
  }
}

void AsioSocketConnection::setStateHandler(StateHandler handler) { stream_->onState = std::move(handler); }

void AsioSocketConnection::setReceiveHandler(ReceiveHandler handler) {
  stream_->onReceive = std::move(handler);
}

void AsioSocketConnection::start(std::shared_ptr<SerialQueue> queue) {
  queue_ = std::move(queue);
  loop_->ensureThreads();
  stream_->start(EventLoopQueue::from(*queue_));
}

void AsioSocketConnection::receive(std::size_t maxBytes) { stream_->receive(maxBytes); }
void AsioSocketConnection::receive(ReceiveRoom room) { stream_->receive(std::move(room)); }
void AsioSocketConnection::send(std::span<const std::byte> bytes) { stream_->send(bytes); }

void AsioSocketConnection::send(std::span<const std::byte> head, SharedBytes body, Task processed) {
  stream_->send(head, std::move(body), std::move(processed));
}

std::size_t AsioSocketConnection::pendingBytes() const { return stream_->pendingBytes(); }
void AsioSocketConnection::cancel() { stream_->close(ConnectionState::cancelled); }
std::string AsioSocketConnection::peerName() const { return stream_->peerName(); }

}  // namespace tevanto
