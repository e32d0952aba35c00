#include <mach-o/dyld.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdint>

#include "app/ipc/ProcessFacts.h"

namespace tevanto {

bool isOfSameUser(int socket) {
  uid_t user = 0;
  gid_t group = 0;
  return ::getpeereid(socket, &user, &group) == 0 && user == ::geteuid();
}

// Not the folders for temporary files, which the system cleans of what was not used for three days.
std::filesystem::path runtimeParent() {
  const auto* const user = ::getpwuid(::geteuid());
  if (!user || !user->pw_dir) return "/tmp";
  return std::filesystem::path(user->pw_dir) / "Library" / "Application Support";
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
