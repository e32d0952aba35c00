#include "core/settings/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <system_error>

namespace tevanto {

Result<FileLock> FileLock::acquire(const std::filesystem::path& path) {
  constexpr mode_t kPrivateFile = 0600;
  Descriptor file(::open(path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, kPrivateFile));
  int locked = file ? 0 : -1;
  if (file) {
    do {
      locked = ::flock(file.get(), LOCK_EX);
    } while (locked != 0 && errno == EINTR);
  }
  if (locked != 0)
    return Failure{"cannot lock " + path.string() + ": " + std::generic_category().message(errno)};
  return FileLock(std::move(file));
}

}  // namespace tevanto
