#include "phone/LineSocket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace tevanto::phone {
namespace {

constexpr std::size_t kMaxBuffered = 64 * 1024 * 1024;  // no reply comes near; a stream without lines does

/// Whether `events` came on the descriptor before the deadline.
bool waitFor(int descriptor, short events, LineSocket::Deadline deadline) {
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
int connectTo(const addrinfo& address, LineSocket::Deadline deadline) {
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

Result<LineSocket> LineSocket::connect(const std::string& host, std::uint16_t port, Deadline deadline) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
  if (error != 0) return Failure{::gai_strerror(error)};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
  std::string reason = "no address";
  for (const auto* address = found; address; address = address->ai_next) {
    const int descriptor = connectTo(*address, deadline);
    if (descriptor >= 0) return LineSocket(descriptor);
    reason = std::strerror(errno);
  }
  return Failure{reason};
}

LineSocket::LineSocket(LineSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      buffer_(std::move(other.buffer_)),
      taken_(other.taken_),
      scanned_(other.scanned_) {}

LineSocket::~LineSocket() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool LineSocket::send(std::string_view bytes, Deadline deadline) {
  while (!bytes.empty()) {
    const auto sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      if (!waitFor(descriptor_, POLLOUT, deadline)) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

LineSocket::Received LineSocket::receive(std::string& line, Deadline deadline) {
  std::array<char, 65536> bytes;
  while (true) {
    if (takeLine(line)) return Received::line;
    if (buffer_.size() > kMaxBuffered) return Received::closed;
    const auto count = ::recv(descriptor_, bytes.data(), bytes.size(), 0);
    if (count > 0) {
      buffer_.append(bytes.data(), static_cast<std::size_t>(count));
    } else if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      if (!waitFor(descriptor_, POLLIN, deadline)) return Received::nothingYet;
    } else if (count == 0 || errno != EINTR) {
      return Received::closed;
    }
  }
}

bool LineSocket::takeLine(std::string& line) {
  const auto end = buffer_.find('\n', scanned_);
  if (end != std::string::npos) {
    line.assign(buffer_, taken_, end - taken_);
    taken_ = scanned_ = end + 1;
    return true;
  }
  buffer_.erase(0, taken_);
  taken_ = 0;
  scanned_ = buffer_.size();
  return false;
}

}  // namespace tevanto::phone
