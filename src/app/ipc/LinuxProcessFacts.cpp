#include <sys/socket.h>
#include <unistd.h>

#include "app/ipc/ProcessFacts.h"

namespace tevanto {

bool isOfSameUser(int socket) {
  ucred peer{};
  socklen_t length = sizeof(peer);
  return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == ::geteuid();
}

std::filesystem::path runtimeParent() { return "/tmp"; }

std::optional<std::filesystem::path> ownExecutable() {
  std::error_code error;
  auto file = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::nullopt : std::optional(std::move(file));
}

}  // namespace tevanto
