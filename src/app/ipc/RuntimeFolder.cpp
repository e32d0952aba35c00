#include "app/ipc/RuntimeFolder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app/ipc/ProcessFacts.h"

namespace tevanto {
namespace {

/// Others could swap our own folder inside a parent that they may write to.
bool isPrivateParent(const std::filesystem::path& folder) {
  struct stat info {};
  return folder.is_absolute() && ::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
         info.st_uid == ::geteuid() && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

Result<std::filesystem::path> makePrivate(std::filesystem::path folder) {
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    return Failure{"The folder " + folder.string() + " cannot be created: " + std::strerror(errno) + "."};
  }
  struct stat info {};
  // lstat: a link that somebody put there must not lead us elsewhere.
  if (::lstat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid() ||
      (info.st_mode & 0077) != 0) {
    return Failure{"The folder " + folder.string() +
                   " is not private to this user; remove it or set XDG_RUNTIME_DIR to a private folder."};
  }
  return folder;
}

}  // namespace

Result<std::filesystem::path> runtimeFolder(const std::filesystem::path& fallbackParent) {
  const char* session = std::getenv("XDG_RUNTIME_DIR");
  if (session != nullptr && isPrivateParent(session)) {
    return makePrivate(std::filesystem::path(session) / "tevanto");
  }
  return makePrivate(fallbackParent / ("tevanto-" + std::to_string(::geteuid())));
}

Result<std::filesystem::path> runtimeFolder() { return runtimeFolder(runtimeParent()); }

std::filesystem::path ipcSocketIn(const std::filesystem::path& folder) { return folder / "control.sock"; }

}  // namespace tevanto
