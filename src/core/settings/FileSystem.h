#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace tevanto {

/// FileSystem offers the steps of which durable files are made. Each step is one system call (POSIX) in its
/// effect on the disk. A test can therefore record the steps, let any of them fail, and replay the state
/// that a power cut leaves. A signal that interrupts a step is no error: the step goes on.
class FileSystem {
 public:
  using Path = std::filesystem::path;
  using Error = std::error_code;

  static std::shared_ptr<FileSystem> real();
  virtual ~FileSystem() = default;

  /// Appends the whole file to `text`, but no more than `maxBytes + 1` bytes.
  virtual Error read(const Path& path, std::size_t maxBytes, std::string& text) = 0;
  /// Makes a folder of mode 0700. Its parent has to exist.
  virtual Error makeFolder(const Path& path) = 0;
  /// Makes a new file of mode 0600 and opens it for writing; `file` is a descriptor that the caller closes.
  virtual Error create(const Path& path, int& file) = 0;
  /// Writes all of `bytes` at the end.
  virtual Error write(int file, std::string_view bytes) = 0;
  /// Returns when the content of the file has reached the disk.
  virtual Error sync(int file) = 0;
  /// Returns when the names in the folder have reached the disk.
  virtual Error syncFolder(const Path& folder) = 0;
  virtual Error rename(const Path& from, const Path& to) = 0;
  virtual Error remove(const Path& path) = 0;
};

}  // namespace tevanto
