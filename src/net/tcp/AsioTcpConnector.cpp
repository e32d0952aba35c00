#include "net/tcp/AsioTcpConnector.h"

#include <utility>

#include "net/tcp/AsioSocketConnection.h"

namespace tevanto {

AsioTcpConnector::AsioTcpConnector(std::shared_ptr<EventLoop> loop) : loop_(std::move(loop)) {}

std::unique_ptr<TcpConnection> AsioTcpConnector::connection(std::string host, std::uint16_t port) {
  return std::make_unique<AsioSocketConnection>(loop_->core(), std::move(host), port);
}

}  // namespace tevanto
