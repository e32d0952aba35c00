#include "app/ipc/IpcClient.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include "core/Descriptor.h"

namespace tevanto {
namespace {

using Clock = std::chrono::steady_clock;

// Where there is no such flag, the programs ignore SIGPIPE.
#ifdef MSG_NOSIGNAL
constexpr int kNoSignal = MSG_NOSIGNAL;
#else
constexpr int kNoSignal = 0;
#endif

bool waitFor(int descriptor, short events, Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  pollfd entry{descriptor, events, 0};
  return left.count() > 0 && ::poll(&entry, 1, static_cast<int>(left.count())) > 0;
}

bool sendAll(int descriptor, std::string_view bytes, Clock::time_point deadline) {
  while (!bytes.empty()) {
    if (!waitFor(descriptor, POLLOUT, deadline)) return false;
    const auto sent = ::send(descriptor, bytes.data(), bytes.size(), kNoSignal | MSG_DONTWAIT);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::optional<std::string> receiveLine(int descriptor, Clock::time_point deadline) {
  std::string line;
  std::array<char, 4096> chunk{};
  while (waitFor(descriptor, POLLIN, deadline)) {
    const auto got = ::recv(descriptor, chunk.data(), chunk.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (got <= 0) return std::nullopt;
    line.append(chunk.data(), static_cast<std::size_t>(got));
    if (const auto end = line.find('\n'); end != std::string::npos) return line.substr(0, end);
  }
  return std::nullopt;
}

}  // namespace

Result<std::optional<IpcReply>> askCompanion(const std::filesystem::path& path, const IpcRequest& request,
                                             std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (!socket || path.string().size() >= sizeof(address.sun_path)) {
    return Failure{"The control socket " + path.string() + " cannot be used."};
  }
  std::strcpy(address.sun_path, path.c_str());
  // A companion that hangs may have a full backlog, in which case connecting waits too.
  const timeval limit{static_cast<time_t>(timeout.count() / 1000),
                      static_cast<suseconds_t>(timeout.count() % 1000 * 1000)};
  ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    if (errno == ENOENT || errno == ECONNREFUSED) return std::optional<IpcReply>();
    return Failure{"The companion cannot be asked: " + std::string(std::strerror(errno)) + "."};
  }
  if (!sendAll(socket.get(), encodeIpcRequest(request) + "\n", deadline)) {
    return Failure{"The companion runs but takes no request; end it and start it again."};
  }
  const auto line = receiveLine(socket.get(), deadline);
  auto reply = line ? decodeIpcReply(*line) : std::nullopt;
  if (!reply) return Failure{"The companion runs but does not answer; end it and start it again."};
  return std::optional<IpcReply>(std::move(reply));
}

}  // namespace tevanto
