#include "core/settings/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "core/Descriptor.h"

namespace tevanto {
namespace {

constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;

std::error_code lastError() { return {errno, std::generic_category()}; }
std::error_code errorUnless(bool succeeded) { return succeeded ? std::error_code() : lastError(); }

template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

class RealFileSystem final : public FileSystem {
 public:
  Error read(const Path& path, std::size_t maxBytes, std::string& text) override {
    const Descriptor file(uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!file) return lastError();
    std::array<char, 16 * 1024> block;
    std::size_t left = maxBytes + 1;
    while (left > 0) {
      const auto wanted = std::min(left, block.size());
      const ssize_t count = uninterrupted([&] { return ::read(file.get(), block.data(), wanted); });
      if (count < 0) return lastError();
      if (count == 0) break;
      text.append(block.data(), static_cast<std::size_t>(count));
      left -= static_cast<std::size_t>(count);
    }
    return {};
  }

  Error makeFolder(const Path& path) override {
    return errorUnless(::mkdir(path.c_str(), kPrivateFolder) == 0);
  }

  Error create(const Path& path, int& file) override {
    const int flags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    file = uninterrupted([&] { return ::open(path.c_str(), flags, kPrivateFile); });
    return errorUnless(file >= 0);
  }

  Error write(int file, std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t count = uninterrupted([&] { return ::write(file, bytes.data(), bytes.size()); });
      if (count < 0) return lastError();
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
  }

  Error sync(int file) override {
    return errorUnless(uninterrupted([&] { return ::fsync(file); }) == 0);
  }

  Error syncFolder(const Path& folder) override {
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    const Descriptor opened(uninterrupted([&] { return ::open(folder.c_str(), flags); }));
    return opened ? sync(opened.get()) : lastError();
  }

  Error rename(const Path& from, const Path& to) override {
    return errorUnless(::rename(from.c_str(), to.c_str()) == 0);
  }

  Error remove(const Path& path) override { return errorUnless(::unlink(path.c_str()) == 0); }
};

}  // namespace

std::shared_ptr<FileSystem> FileSystem::real() { return std::make_shared<RealFileSystem>(); }

}  // namespace tevanto
