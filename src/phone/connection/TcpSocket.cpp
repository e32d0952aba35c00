#include "phone/connection/TcpSocket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace tevanto::phone {
namespace {

/// Whether `events` came on the descriptor before the deadline.
bool waitFor(int descriptor, short events, TcpSocket::Deadline deadline) {
  while (true) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd entry{descriptor, events, 0};
    const int ready = ::poll(&entry, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

/// A connected socket, or -1 with `errno` set.
int connectTo(const addrinfo& address, TcpSocket::Deadline deadline) {
  const int descriptor = ::socket(address.ai_family, SOCK_STREAM, 0);
  if (descriptor < 0) return -1;
  ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
  const int noDelay = 1;
  ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &noDelay, sizeof noDelay);
  int error = ::connect(descriptor, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS) {
    socklen_t size = sizeof error;
    if (!waitFor(descriptor, POLLOUT, deadline)) {
      error = ETIMEDOUT;
    } else {
      ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
    }
  }
  if (error == 0) return descriptor;
  ::close(descriptor);
  errno = error;
  return -1;
}

}  // namespace

Result<TcpSocket> TcpSocket::connect(const std::string& host, std::uint16_t port, Deadline deadline) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (error != 0) return Failure{::gai_strerror(error)};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
  std::string reason = "no address";
  for (const auto* address = found; address; address = address->ai_next) {
    Descriptor descriptor(connectTo(*address, deadline));
    if (descriptor) return TcpSocket(std::move(descriptor));
    reason = std::strerror(errno);
  }
  return Failure{reason};
}

bool TcpSocket::send(std::span<const std::byte> bytes, Deadline deadline) {
  while (!bytes.empty()) {
    const auto sent = ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      if (!waitFor(descriptor(), POLLOUT, deadline)) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

TcpSocket::Received TcpSocket::receive(std::span<std::byte> space, std::size_t& count, Deadline deadline) {
  while (true) {
    const auto received = ::recv(descriptor(), space.data(), space.size(), 0);
    if (received > 0) {
      count = static_cast<std::size_t>(received);
      return Received::bytes;
    }
    if (received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      if (!waitFor(descriptor(), POLLIN, deadline)) return Received::nothingYet;
    } else if (received == 0 || errno != EINTR) {
      return Received::closed;
    }
  }
}

}  // namespace tevanto::phone
