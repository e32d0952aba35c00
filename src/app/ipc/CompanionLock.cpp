#include "app/ipc/CompanionLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

namespace tevanto {
namespace {

std::filesystem::path lockFile(const std::filesystem::path& folder) { return folder / "companion.lock"; }

}  // namespace

Result<std::unique_ptr<CompanionLock>> CompanionLock::tryAcquire(const std::filesystem::path& folder) {
  const auto file = lockFile(folder);
  // Close-on-exec: an application opened from here must not go on holding the lock after this process.
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) {
    return Failure{"The file " + file.string() + " cannot be opened: " + std::strerror(errno) + "."};
  }
  if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    const int fault = errno;
    ::close(descriptor);
    if (fault == EWOULDBLOCK) return std::unique_ptr<CompanionLock>();
    return Failure{"The file " + file.string() + " cannot be locked: " + std::strerror(fault) + "."};
  }
  // The file is never removed: a lock on a removed file would no longer keep anybody out.
  const auto text = std::to_string(::getpid()) + "\n";
  if (::ftruncate(descriptor, 0) == 0) {
    [[maybe_unused]] const auto written = ::pwrite(descriptor, text.data(), text.size(), 0);
  }
  return std::unique_ptr<CompanionLock>(new CompanionLock(descriptor));
}

pid_t CompanionLock::holder(const std::filesystem::path& folder) {
  pid_t process = 0;
  std::ifstream(lockFile(folder)) >> process;
  return process;
}

CompanionLock::~CompanionLock() { ::close(descriptor_); }

}  // namespace tevanto
