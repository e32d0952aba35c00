#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "core/Descriptor.h"
#include "core/settings/FileSystem.h"
#include "core/settings/JsonUserDefaults.h"

namespace {

using namespace tevanto;

/// One folder of files in memory; nothing is slow, nothing fails.
class MemoryFiles final : public FileSystem {
 public:
  std::map<Path, std::string> files;

  Error read(const Path& path, std::size_t maxBytes, std::string& text) override {
    const auto found = files.find(path);
    if (found == files.end()) return std::make_error_code(std::errc::no_such_file_or_directory);
    text.append(found->second, 0, maxBytes + 1);
    return {};
  }
  Error makeFolder(const Path&) override { return {}; }
  Error create(const Path& path, int& file) override {
    file = -1;  // nothing to close
    opened_ = path;
    files[path].clear();
    return {};
  }
  Error write(int, std::string_view bytes) override {
    files[opened_].append(bytes);
    return {};
  }
  Error sync(int) override { return {}; }
  Error syncFolder(const Path&) override { return {}; }
  Error rename(const Path& from, const Path& to) override {
    files[to] = std::move(files[from]);
    files.erase(from);
    return {};
  }
  Error remove(const Path& path) override {
    files.erase(path);
    return {};
  }

 private:
  Path opened_;
};

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

/// Whatever the file holds: a write succeeds, is read back with all that was there before, and what could not
/// be read is still there under another name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto folder = std::filesystem::temp_directory_path();  // of the lock, which is a real one
  static const auto file = folder / ("tevanto-defaults-fuzz-" + std::to_string(::getpid()));
  static const bool registered = std::atexit([] { std::filesystem::remove(file.string() + ".lock"); }) == 0;
  require(registered);

  const auto files = std::make_shared<MemoryFiles>();
  const std::string content(reinterpret_cast<const char*>(data), size);
  files->files[file] = content;
  JsonUserDefaults defaults(file, Logger(), files);
  const bool damaged = !files->files.contains(file);
  auto expected = defaults.all();
  if (damaged) require(expected.empty() && files->files.begin()->second == content);

  require(defaults.set("probe", std::string("written")).ok());
  expected["probe"] = std::string("written");
  require(defaults.all() == expected);
  require(JsonUserDefaults(file, Logger(), files).all() == expected);
  require(files->files.size() == (damaged ? 2 : 1));
  return 0;
}
