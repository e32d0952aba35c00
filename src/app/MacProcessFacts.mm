#include <mach-o/dyld.h>
#include <unistd.h>

#include <array>
#include <cstdint>

#include "app/ProcessFacts.h"

namespace tevanto {

bool isOfSameUser(int socket) {
  uid_t user = 0;
  gid_t group = 0;
  return ::getpeereid(socket, &user, &group) == 0 && user == ::geteuid();
}

std::optional<std::filesystem::path> ownExecutable() {
  std::array<char, 4096> path{};
  auto size = static_cast<std::uint32_t>(path.size());
  if (::_NSGetExecutablePath(path.data(), &size) != 0) return std::nullopt;
  std::error_code error;
  auto file = std::filesystem::canonical(path.data(), error);
  return error ? std::nullopt : std::optional(std::move(file));
}

}  // namespace tevanto
