#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "core/Descriptor.h"
#include "tests/support/peers/Sockets.h"

namespace tevanto::test {

/// A bare socket of the system on loopback: the peer in tests of real connections. Calls block, with a
/// generous deadline, so that a broken program ends a test instead of hanging it.
class RawSocket {
 public:
  static constexpr int kDeadlineMs = 20'000;

  RawSocket() = default;
  explicit RawSocket(int fd) : fd_(fd) {}

  /// Connected to a port of 127.0.0.1 (or ::1); not open when that was refused.
  static RawSocket connectTo(std::uint16_t port, bool ipv6 = false) {
    RawSocket made(openSocket(ipv6 ? AF_INET6 : AF_INET));
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    v4.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_addr = in6addr_loopback;
    const auto* address = ipv6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
    const socklen_t size = ipv6 ? sizeof v6 : sizeof v4;
    if (::connect(made.fd(), address, size) != 0) made.close();
    return made;
  }

  /// Connected to a port of an IPv4 address, from one of this machine's own where that matters.
  static RawSocket connectTo(const std::string& address, std::uint16_t port, const std::string& from = {}) {
    RawSocket made(openSocket(AF_INET));
    sockaddr_in name{};
    name.sin_family = AF_INET;
    ::inet_pton(AF_INET, from.c_str(), &name.sin_addr);
    const auto* generic = reinterpret_cast<const sockaddr*>(&name);
    if (!from.empty() && ::bind(made.fd(), generic, sizeof name) != 0) made.close();
    name.sin_port = htons(port);
    ::inet_pton(AF_INET, address.c_str(), &name.sin_addr);
    if (::connect(made.fd(), generic, sizeof name) != 0) made.close();
    return made;
  }

  bool isOpen() const { return fd_.get() >= 0; }
  int fd() const { return fd_.get(); }

  /// False when the peer took no more before the deadline, or is gone.
  bool send(std::string_view bytes) const {
    while (!bytes.empty()) {
      if (!wait(POLLOUT)) return false;
      const auto sent = ::send(fd(), bytes.data(), bytes.size(), kNoSignal | MSG_DONTWAIT);
      if (sent < 0 && errno != EAGAIN) return false;
      if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

  /// At least one byte, unless the stream ended, broke, or the deadline passed.
  std::string receiveSome() const {
    std::string bytes(64 * 1024, '\0');
    if (!wait(POLLIN)) return {};
    const auto count = ::recv(fd(), bytes.data(), bytes.size(), 0);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }

  /// Exactly `size` bytes, or fewer when the stream ended first.
  std::string receive(std::size_t size) const {
    std::string bytes;
    while (bytes.size() < size) {
      std::string more(size - bytes.size(), '\0');
      if (!wait(POLLIN)) break;
      const auto count = ::recv(fd(), more.data(), more.size(), 0);
      if (count <= 0) break;
      bytes.append(more, 0, static_cast<std::size_t>(count));
    }
    return bytes;
  }

  /// One line without its line feed; what came so far when the stream ended first.
  std::string receiveLine() {
    while (true) {
      if (const auto end = line_.find('\n'); end != std::string::npos) {
        std::string found = line_.substr(0, end);
        line_.erase(0, end + 1);
        return found;
      }
      const auto more = receiveSome();
      if (more.empty()) return std::exchange(line_, {});
      line_ += more;
    }
  }

  /// Whether the peer closed its side (in order or by a reset) before the deadline; what comes before is
  /// dropped.
  bool waitForEnd() const {
    while (wait(POLLIN)) {
      char bytes[4096];
      if (::recv(fd(), bytes, sizeof bytes, 0) <= 0) return true;
    }
    return false;
  }

  void endStream() const { ::shutdown(fd(), SHUT_WR); }

  void close() { fd_.reset(); }

  /// Closes with a reset instead of an orderly end.
  void reset() {
    const linger now{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(fd(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    close();
  }

 private:
  bool wait(short events) const {
    pollfd one{.fd = fd(), .events = events, .revents = 0};
    return ::poll(&one, 1, kDeadlineMs) == 1;
  }

  Descriptor fd_;
  std::string line_;
};

}  // namespace tevanto::test
