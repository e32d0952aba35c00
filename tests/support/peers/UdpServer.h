#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace tevanto::test {

/// Answers datagrams on a port of 127.0.0.1, on a thread of its own, until it goes.
class UdpServer {
 public:
  using Datagram = std::vector<std::byte>;
  /// What goes back, one datagram each.
  using Handler = std::function<std::vector<Datagram>(std::span<const std::byte> datagram)>;

  explicit UdpServer(Handler handler)
      : handler_(std::move(handler)), socket_(::socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof name;
    auto* generic = reinterpret_cast<sockaddr*>(&name);
    if (::bind(socket_, generic, size) != 0 || ::getsockname(socket_, generic, &size) != 0)
      throw std::runtime_error("no UDP port");
    port_ = ntohs(name.sin_port);
    thread_ = std::thread([this] { run(); });
  }
  ~UdpServer() {
    ends_ = true;
    thread_.join();
    ::close(socket_);
  }
  UdpServer(const UdpServer&) = delete;
  UdpServer& operator=(const UdpServer&) = delete;

  std::uint16_t port() const { return port_; }
  int receivedCount() const { return received_; }

 private:
  void run() {
    while (!ends_) {
      pollfd one{socket_, POLLIN, 0};
      if (::poll(&one, 1, 20) != 1) continue;
      std::byte bytes[2048];
      sockaddr_in from{};
      socklen_t size = sizeof from;
      auto* generic = reinterpret_cast<sockaddr*>(&from);
      const auto count = ::recvfrom(socket_, bytes, sizeof bytes, 0, generic, &size);
      if (count < 0) continue;
      ++received_;
      for (const auto& reply : handler_(std::span(bytes).first(static_cast<std::size_t>(count))))
        ::sendto(socket_, reply.data(), reply.size(), 0, generic, size);
    }
  }

  const Handler handler_;
  const int socket_;
  std::uint16_t port_ = 0;
  std::atomic<int> received_ = 0;
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};

}  // namespace tevanto::test
