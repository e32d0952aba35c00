#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tevanto::test {

inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void fill(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

/// The permission bits of a file, of a link itself; -1 without one.
inline int modeOf(const std::filesystem::path& path) {
  struct stat facts {};
  return ::lstat(path.c_str(), &facts) == 0 ? static_cast<int>(facts.st_mode & 07777) : -1;
}

}  // namespace tevanto::test
